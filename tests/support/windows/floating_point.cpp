// Numbers are reckoned in two units, each with masks of its own. The C library here unmasks in one alone.
#include "support/floating_point.h"

#include <xmmintrin.h>

namespace {

constexpr unsigned kMasks = FE_ALL_EXCEPT;
constexpr unsigned kMaskShift = 7; // in the word of the newer unit

unsigned short controlOfTheOlderUnit()
{
   unsigned short control = 0;
   asm volatile("fnstcw %0" : "=m"(control));
   return control;
}

} // namespace

int unmaskedTraps()
{
   const unsigned older = ~controlOfTheOlderUnit() & kMasks;
   const unsigned newer = ~_mm_getcsr() >> kMaskShift & kMasks;
   return static_cast<int>(older << 8 | newer);
}

void FloatingPoint::setUsual()
{
   constexpr unsigned kUsual = 0x1F80;
   asm volatile("fninit");
   _mm_setcsr(kUsual);
}

void FloatingPoint::unmaskTraps()
{
   std::feclearexcept(FE_ALL_EXCEPT);
   _mm_setcsr(_mm_getcsr() & ~(kMasks << kMaskShift));
   const auto control = static_cast<unsigned short>(controlOfTheOlderUnit() & ~kMasks);
   asm volatile("fldcw %0" : : "m"(control));
}
