#include "source/zerovaapi/call_guard.h"

namespace zerova {

namespace {

// One constant text, whatever the build folder and the system: callers and dictionaries know it.
constexpr const char* kFile = "source\\zerovaapi\\api";
constexpr const char* kComponent = "zerovaapi";

} // namespace

// A failure that lost to an earlier error must not write into the earlier one's text.
bool setFailure(quelerr_Status* status, StatusCode code, int32_t line)
{
   return quelerr_Status_setWithSite(status, code.value,
                                     quelerr_Location{kFile, line, kComponent, code.constant});
}

void describeFailure(quelerr_Status* status, const char* debugText)
{
   quelerr_Status_appendPair(status, "zerovaapi_debug", debugText);
}

void fail(quelerr_Status* status, StatusCode code, int32_t line, const char* debugText)
{
   if (setFailure(status, code, line) && debugText) describeFailure(status, debugText);
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
   if (setFailure(status, code, line)) quelerr_Status_appendPair(status, key, e.what());
}

void takeOutOfMemory(quelerr_Status* status, int32_t line)
{
   quelerr_Status_setOutOfMemory(status, quelerr_Location{kFile, line, kComponent, nullptr});
}

} // namespace zerova
