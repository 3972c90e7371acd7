// A clock that never goes back, and a pause. Nothing here is timed finer than its step, so there is
// no counter of a higher resolution.
#ifndef PLATFORM_CLOCK_H
#define PLATFORM_CLOCK_H

#include <cstdint>

namespace platform {

// Milliseconds since a fixed moment in the past.
int64_t monotonicMs();

// The step of monotonicMs in milliseconds, rounded up, so that a wait which is one step longer than
// asked is never too short; at least 1. Measured once in the process.
int64_t clockTickMs();

// Returns after ms milliseconds, on some systems up to a step of the clock before; at once for 0.
void pauseMs(int64_t ms);

} // namespace platform

#endif
