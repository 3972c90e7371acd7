#include "support/floating_point.h"

int unmaskedTraps()
{
   return fegetexcept();
}

void FloatingPoint::setUsual()
{
   std::fesetenv(FE_DFL_ENV);
}

void FloatingPoint::unmaskTraps()
{
   std::feclearexcept(FE_ALL_EXCEPT);
   feenableexcept(FE_ALL_EXCEPT);
}
