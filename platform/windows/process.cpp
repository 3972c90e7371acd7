#include "platform/process.h"

#include <windows.h>

namespace platform {

uint32_t processNumber()
{
   return GetCurrentProcessId();
}

} // namespace platform
