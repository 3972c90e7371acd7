#ifndef QUELERR_EXCEPTION_BASE_H
#define QUELERR_EXCEPTION_BASE_H

#include "quelerr/status.h"

namespace quelerr {

// An exception that is a status. It is no std::exception, so whoever catches has to name it.
class ExceptionBase
{
public:
   // Takes the code and the text out of source, which keeps its code.
   explicit ExceptionBase(quelerr_Status& source);
   ExceptionBase(const ExceptionBase& other);
   ExceptionBase& operator=(const ExceptionBase&) = delete;
   virtual ~ExceptionBase();

   quelerr_Status status;
};

} // namespace quelerr

#endif
