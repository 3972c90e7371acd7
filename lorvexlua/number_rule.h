// How a Lua number becomes an integer: what the processor's own conversion gives, spelt out, since
// a cast of a number that does not fit is undefined.
#ifndef LORVEXLUA_NUMBER_RULE_H
#define LORVEXLUA_NUMBER_RULE_H

#include <cstdint>
#include <limits>

constexpr double kTwoTo63 = 9223372036854775808.0;

// Truncates toward zero; the lowest value for what does not fit and for NaN.
inline int64_t lorvexlua_truncateToInt64(double number)
{
   if (number >= -kTwoTo63 && number < kTwoTo63) return static_cast<int64_t>(number);
   return std::numeric_limits<int64_t>::min();
}

// The same in the unsigned range: a number below 2 to the power 63 keeps the signed rule, so -1 is
// the highest value.
inline uint64_t lorvexlua_truncateToUint64(double number)
{
   if (number >= kTwoTo63 && number < 2 * kTwoTo63)
      return static_cast<uint64_t>(number - kTwoTo63) + 0x8000000000000000u;
   return static_cast<uint64_t>(lorvexlua_truncateToInt64(number));
}

#endif
