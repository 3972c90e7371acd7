#include "platform/process.h"

#include <unistd.h>

namespace platform {

uint32_t processNumber()
{
   return static_cast<uint32_t>(getpid());
}

} // namespace platform
