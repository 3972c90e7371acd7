#include "platform/thread_pointer.h"

namespace platform {
namespace {

// With the thread's own memory from its start: another model would allocate at the first use in a
// library that is loaded later, and end the process where it cannot.
__attribute__((tls_model("initial-exec"))) thread_local void* ownPointer = nullptr;

} // namespace

void* threadPointer()
{
   return ownPointer;
}

void setThreadPointer(void* pointer)
{
   ownPointer = pointer;
}

} // namespace platform
