// A clock that never goes back, and a pause.
#ifndef PLATFORM_CLOCK_H
#define PLATFORM_CLOCK_H

#include <cstdint>

namespace platform {

// Milliseconds since a fixed moment in the past.
int64_t monotonicMs();

// The step of monotonicMs in milliseconds, at least 1. Measured once in the process.
int64_t clockTickMs();

// Returns after at least ms milliseconds; at once for 0.
void pauseMs(int64_t ms);

} // namespace platform

#endif
