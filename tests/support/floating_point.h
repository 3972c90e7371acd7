// Floating-point environments that a host may have, for as long as the object lives.
#ifndef TESTS_SUPPORT_FLOATING_POINT_H
#define TESTS_SUPPORT_FLOATING_POINT_H

#include <cfenv>

// Those of the calling thread, as a number of the system's.
int unmaskedTraps();

// What can be read of an environment: the rounding, the unmasked traps and the flags raised.
struct FloatingPointState
{
   int rounding = std::fegetround();
   int traps = unmaskedTraps();
   int flags = std::fetestexcept(FE_ALL_EXCEPT);

   bool operator==(const FloatingPointState&) const = default;
};

class FloatingPoint
{
public:
   FloatingPoint() = default;
   FloatingPoint(const FloatingPoint&) = delete;
   FloatingPoint& operator=(const FloatingPoint&) = delete;
   ~FloatingPoint() { setUsual(); }

   // As a program begins.
   static void setUsual();

   // Lets every exception end the process, inexact results included.
   static void unmaskTraps();
};

#endif
