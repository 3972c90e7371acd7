// Floating-point environments that a host may have, for as long as the object lives.
#ifndef TESTS_SUPPORT_FLOATING_POINT_H
#define TESTS_SUPPORT_FLOATING_POINT_H

#include <cfenv>

// What can be read of an environment: the rounding, the unmasked traps and the flags raised.
struct FloatingPointState
{
   int rounding = std::fegetround();
   int traps = fegetexcept();
   int flags = std::fetestexcept(FE_ALL_EXCEPT);

   bool operator==(const FloatingPointState&) const = default;
};

class FloatingPoint
{
public:
   FloatingPoint() { std::fegetenv(&usual_); }
   FloatingPoint(const FloatingPoint&) = delete;
   FloatingPoint& operator=(const FloatingPoint&) = delete;
   ~FloatingPoint() { std::fesetenv(&usual_); }

   // Lets every exception end the process, inexact results included.
   static void unmaskTraps()
   {
      std::feclearexcept(FE_ALL_EXCEPT);
      feenableexcept(FE_ALL_EXCEPT);
   }

private:
   std::fenv_t usual_ = {};
};

#endif
