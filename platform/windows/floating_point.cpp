// Numbers are reckoned in two units. The C library's functions for the environment keep the one and
// leave the other, in which nearly all is reckoned, as the host has set it.
#include "platform/floating_point.h"

#include <cstring>

#include <xmmintrin.h>

namespace platform {
namespace {

struct Environment
{
   std::uint32_t olderUnit[7]; // as its own instruction stores it
   std::uint32_t newerUnit;
};
static_assert(sizeof(Environment) <= sizeof(FloatingPointEnvironment::words));

constexpr std::uint32_t kUsual = 0x1F80; // all masked, to the nearest

} // namespace

void useUsualFloatingPoint(FloatingPointEnvironment& kept)
{
   Environment hosts;
   asm volatile("fnstenv %0\n\tfninit" : "=m"(hosts.olderUnit));
   hosts.newerUnit = _mm_getcsr();
   _mm_setcsr(kUsual);
   std::memcpy(kept.words, &hosts, sizeof hosts);
}

void restoreFloatingPoint(const FloatingPointEnvironment& kept)
{
   Environment hosts;
   std::memcpy(&hosts, kept.words, sizeof hosts);
   asm volatile("fldenv %0" : : "m"(hosts.olderUnit));
   _mm_setcsr(hosts.newerUnit);
}

} // namespace platform
