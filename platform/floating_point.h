// How the calling thread rounds numbers, which of their exceptions trap, and which it has raised.
#ifndef PLATFORM_FLOATING_POINT_H
#define PLATFORM_FLOATING_POINT_H

#include <cstdint>

namespace platform {

// Filled by the system. A plain structure: a frame that holds one may be left by a jump.
struct FloatingPointEnvironment
{
   std::uint64_t words[8];
};

// Keeps what there is, and sets what a program begins with: to the nearest, and nothing traps.
void useUsualFloatingPoint(FloatingPointEnvironment& kept);
// Sets what was kept, the exceptions that were raised included.
void restoreFloatingPoint(const FloatingPointEnvironment& kept);

} // namespace platform

#endif
