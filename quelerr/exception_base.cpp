#include "quelerr/exception_base.h"

namespace quelerr {

ExceptionBase::ExceptionBase(quelerr_Status& source)
{
   quelerr_Status_init(&status);
   quelerr_Status_adopt(&status, &source);
}

// A copy that runs out of memory keeps the code and loses the text, as everywhere with a status.
ExceptionBase::ExceptionBase(const ExceptionBase& other)
{
   quelerr_Status_init(&status);
   if (quelerr_Status_setCode(&status, other.status.code) && other.status.json)
      quelerr_Status_setJson(&status, other.status.json);
}

ExceptionBase::~ExceptionBase()
{
   quelerr_Status_release(&status);
}

} // namespace quelerr
