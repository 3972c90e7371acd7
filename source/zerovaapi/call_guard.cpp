#include "source/zerovaapi/call_guard.h"

namespace zerova {

namespace {

// One constant text, whatever the build folder and the system: callers and dictionaries know it.
constexpr const char* kFile = "source\\zerovaapi\\api";
constexpr const char* kComponent = "zerovaapi";

void setWithPair(quelerr_Status* status, StatusCode code, int32_t line, const char* key,
                 const char* value)
{
   const quelerr_Location site{kFile, line, kComponent, code.constant};
   // A failure that lost to an earlier error must not write into the earlier one's text.
   if (quelerr_Status_setWithSite(status, code.value, site) && value)
      quelerr_Status_appendPair(status, key, value);
}

} // namespace

void fail(quelerr_Status* status, StatusCode code, int32_t line, const char* debugText)
{
   setWithPair(status, code, line, "zerovaapi_debug", debugText);
}

void takeServiceFailure(quelerr_Status* status, const ThriftStatus& e)
{
   // The description is the whole text that the service built, so nothing of ours is added.
   if (quelerr_Status_setCode(status, e.code))
      quelerr_Status_setJson(status, e.description.c_str());
}

void takeException(quelerr_Status* status, StatusCode code, int32_t line, const char* key,
                   const std::exception& e)
{
   setWithPair(status, code, line, key, e.what());
}

void takeOutOfMemory(quelerr_Status* status, int32_t line)
{
   quelerr_Status_setOutOfMemory(status, quelerr_Location{kFile, line, kComponent, nullptr});
}

} // namespace zerova
