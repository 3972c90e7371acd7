#include "platform/thread_pointer.h"

#include "platform/windows/thread_block.h"

namespace platform {
namespace {

PLATFORM_OF_EACH_THREAD void* ofTemplate = nullptr;

} // namespace

void* threadPointer()
{
   return ofThisThread(ofTemplate);
}

void setThreadPointer(void* pointer)
{
   ofThisThread(ofTemplate) = pointer;
}

} // namespace platform
