// The process that this code runs in.
#ifndef PLATFORM_PROCESS_H
#define PLATFORM_PROCESS_H

#include <cstdint>

namespace platform {

// Another one in a child that is a copy of its parent.
uint32_t processNumber();

} // namespace platform

#endif
