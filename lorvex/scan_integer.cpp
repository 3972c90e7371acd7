#include "lorvex/scan_integer.h"

namespace {

constexpr uint64_t kMostPositive = INT64_MAX;
constexpr uint64_t kRoomForADigit = kMostPositive / 16;

bool isSpace(char c)
{
   return c == ' ' || (c >= '\t' && c <= '\r');
}

// The value of a digit in any base up to 16; 16 for what is none.
unsigned digitOf(char c)
{
   if (c >= '0' && c <= '9') return static_cast<unsigned>(c - '0');
   const char lower = static_cast<char>(c | 0x20);
   return lower >= 'a' && lower <= 'f' ? static_cast<unsigned>(lower - 'a' + 10) : 16;
}

} // namespace

int lorvex_scanInteger(const char* text, int32_t* value)
{
   while (isSpace(*text))
      ++text;
   if (!*text) return -1;

   const bool isNegative = *text == '-';
   if (*text == '-' || *text == '+') ++text;
   unsigned base = 10;
   if (*text == '0') {
      const bool isHexadecimal = text[1] == 'x' || text[1] == 'X';
      base = isHexadecimal ? 16 : 8;
      if (isHexadecimal) text += 2;
   }
   if (digitOf(*text) >= base) return 0;

   const uint64_t most = kMostPositive + (isNegative ? 1 : 0);
   uint64_t magnitude = 0;
   for (unsigned digit = digitOf(*text); digit < base; digit = digitOf(*++text)) {
      // Below the limit there is room for a digit of any base, which spares a division.
      const bool isBeyond = magnitude >= kRoomForADigit && magnitude > (most - digit) / base;
      magnitude = isBeyond ? most : magnitude * base + digit;
   }
   *value = static_cast<int32_t>(static_cast<uint32_t>(isNegative ? 0 - magnitude : magnitude));
   return 1;
}
