#include "lorvexlua/number_text.h"

#include <algorithm>
#include <charconv>
#include <climits>
#include <cmath>
#include <cstdarg>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <system_error>

namespace {

// The longest number: all digits of the largest one, a sign, a point and 99 places behind it, which
// is the most that a format of a script can ask for. The widest field is 99.
constexpr size_t kNumberCapacity = 512;

bool isDigit(int c)
{
   return c >= '0' && c <= '9';
}

bool isHexDigit(int c)
{
   return isDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

bool isSpace(int c)
{
   return c == ' ' || (c >= '\t' && c <= '\r');
}

// Any character that a number, an infinity or a NaN can have.
bool belongsToNumber(char c)
{
   return isDigit(c) || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
          (c != '\0' && std::strchr("+-.()_", c));
}

bool startsHex(const char* text)
{
   return text[0] == '0' && (text[1] == 'x' || text[1] == 'X') &&
          (isHexDigit(text[2]) || (text[2] == '.' && isHexDigit(text[3])));
}

// What a number is that no double holds: nothing or infinite, by the power of ten (or two) of its
// first significant digit.
double beyondRange(const char* digit, const char* end, bool isHex)
{
   int64_t magnitude = 0;
   bool isSignificant = false;
   bool isFraction = false;
   const int64_t perDigit = isHex ? 4 : 1;
   for (; digit != end && (*digit == '.' || (isHex ? isHexDigit(*digit) : isDigit(*digit)));
        ++digit) {
      if (*digit == '.') {
         isFraction = true;
         continue;
      }
      isSignificant = isSignificant || *digit != '0';
      if (isSignificant && !isFraction) magnitude += perDigit;
      if (!isSignificant && isFraction) magnitude -= perDigit;
   }
   if (digit != end) ++digit; // the letter of the exponent
   const bool isNegative = digit != end && *digit == '-';
   if (digit != end && (*digit == '-' || *digit == '+')) ++digit;
   int64_t exponent = 0;
   for (; digit != end; ++digit)
      exponent = std::min<int64_t>(exponent * 10 + (*digit - '0'), INT32_MAX);
   return magnitude + (isNegative ? -exponent : exponent) > 0 ? HUGE_VAL : 0.0;
}

bool isFloatingConversion(const char* format)
{
   const size_t length = std::strlen(format);
   return length > 0 && std::strchr("eEfgG", format[length - 1]);
}

// The C library writes the locale's point, of one byte or more, where the only bytes are that
// neither begin nor end a number, nor belong to an exponent.
size_t putPoint(char* text, size_t length)
{
   char* const end = text + length;
   char* const digits = std::find_if(text, end, isDigit);
   char* const point = std::find_if_not(digits, end, isDigit);
   if (digits == end || point == end || *point == 'e' || *point == 'E') return length;
   char* const rest =
      std::find_if(point, end, [](char c) { return isDigit(c) || c == 'e' || c == 'E'; });
   *point = '.';
   std::memmove(point + 1, rest, static_cast<size_t>(end - rest));
   return length - static_cast<size_t>(rest - point) + 1;
}

// Moves the text to the end of a field, behind blanks, or has zeros between its sign and digits.
size_t padLeft(char* text, size_t length, size_t width, bool withZeros)
{
   const size_t added = width - length;
   const size_t kept = withZeros && !isDigit(text[0]) ? 1 : 0;
   std::memmove(text + kept + added, text + kept, length - kept);
   std::memset(text + kept, withZeros ? '0' : ' ', added);
   return width;
}

// What a format of Lua or the codec can ask of a number: both bound width and precision.
struct Conversion
{
   bool isLeft = false;
   bool hasZeros = false;
   bool isAlternate = false;
   char signOfPositive = '\0';
   size_t width = 0;
   int precision = -1; // none given
   char letter = 'g';
};

Conversion parse(const char* format)
{
   Conversion conversion;
   for (++format; *format != '\0' && std::strchr("-+ #0", *format); ++format) {
      if (*format == '-') conversion.isLeft = true;
      if (*format == '0') conversion.hasZeros = true;
      if (*format == '#') conversion.isAlternate = true;
      if (*format == '+') conversion.signOfPositive = '+';
      if (*format == ' ' && conversion.signOfPositive == '\0') conversion.signOfPositive = ' ';
   }
   for (; isDigit(*format); ++format)
      conversion.width = conversion.width * 10 + static_cast<size_t>(*format - '0');
   if (*format == '.') {
      conversion.precision = 0;
      for (++format; isDigit(*format); ++format)
         conversion.precision = conversion.precision * 10 + (*format - '0');
   }
   conversion.letter = *format;
   return conversion;
}

int printDigits(char* text, size_t capacity, const Conversion& conversion, double number)
{
   const int precision = conversion.precision;
   const bool isAlternate = conversion.isAlternate;
   switch (conversion.letter) {
   case 'e':
      return std::snprintf(text, capacity, isAlternate ? "%#.*e" : "%.*e", precision, number);
   case 'E':
      return std::snprintf(text, capacity, isAlternate ? "%#.*E" : "%.*E", precision, number);
   case 'f':
      return std::snprintf(text, capacity, isAlternate ? "%#.*f" : "%.*f", precision, number);
   case 'G':
      return std::snprintf(text, capacity, isAlternate ? "%#.*G" : "%.*G", precision, number);
   default:
      return std::snprintf(text, capacity, isAlternate ? "%#.*g" : "%.*g", precision, number);
   }
}

// Writes number into text, of kNumberCapacity, and returns the length. The C library writes the
// digits alone, and the field is made here, since a locale's point may be longer than a byte.
size_t printNumber(char* text, const char* format, double number)
{
   const Conversion conversion = parse(format);
   size_t signLength = 0;
   if (conversion.signOfPositive != '\0' && !std::signbit(number))
      text[signLength++] = conversion.signOfPositive;
   char* const digits = text + signLength;
   const int printed = printDigits(digits, kNumberCapacity - signLength, conversion, number);
   if (printed < 0) return 0;
   const size_t length = signLength + putPoint(digits, static_cast<size_t>(printed));
   if (conversion.width <= length) return length;
   if (!conversion.isLeft)
      return padLeft(text, length, conversion.width, conversion.hasZeros && std::isfinite(number));
   std::memset(text + length, ' ', conversion.width - length);
   return conversion.width;
}

// The analyzer loses the caller's va_start.
// NOLINTBEGIN(clang-analyzer-valist.Uninitialized)
__attribute__((format(printf, 3, 0))) int printList(char* text, size_t capacity, const char* format,
                                                    va_list arguments)
{
   if (!isFloatingConversion(format)) return std::vsnprintf(text, capacity, format, arguments);
   char number[kNumberCapacity];
   const size_t length = printNumber(number, format, va_arg(arguments, double));
   if (capacity > 0) {
      const size_t kept = std::min(length, capacity - 1);
      std::memcpy(text, number, kept);
      text[kept] = '\0';
   }
   return static_cast<int>(length);
}
// NOLINTEND(clang-analyzer-valist.Uninitialized)

// Reads one number from a file, a character ahead.
class NumberScan
{
public:
   explicit NumberScan(FILE* file)
      : file_(file)
      , next_(std::getc(file))
   {
      while (isSpace(next_))
         next_ = std::getc(file_);
   }

   bool takeAny(const char* wanted)
   {
      if (next_ == EOF || next_ == '\0' || !std::strchr(wanted, next_) ||
          length_ + 1 == sizeof text_)
         return false;
      text_[length_++] = static_cast<char>(next_);
      next_ = std::getc(file_);
      return true;
   }

   size_t takeDigits(bool (*isWanted)(int))
   {
      const size_t before = length_;
      while (isWanted(next_) && takeAny("0123456789abcdefABCDEF")) {
      }
      return length_ - before;
   }

   bool finish(double& number)
   {
      if (next_ != EOF) std::ungetc(next_, file_);
      text_[length_] = '\0';
      char* end = nullptr;
      number = lorvexlua_readNumber(text_, &end);
      return length_ > 0 && end == text_ + length_;
   }

private:
   FILE* file_;
   int next_;
   char text_[256] = {};
   size_t length_ = 0;
};

} // namespace

double lorvexlua_readNumber(const char* text, char** end)
{
   const char* first = text;
   while (isSpace(*first))
      ++first;
   const bool isNegative = *first == '-';
   if (*first == '-' || *first == '+') ++first;
   const bool isHex = startsHex(first);
   if (isHex) first += 2;
   const char* last = first;
   if (*first != '-') // which the conversion would take for a second sign
      while (belongsToNumber(*last))
         ++last;
   double number = 0;
   const auto [stop, error] = std::from_chars(
      first, last, number, isHex ? std::chars_format::hex : std::chars_format::general);
   if (error == std::errc::invalid_argument) {
      if (end) *end = const_cast<char*>(text);
      return 0;
   }
   if (error == std::errc::result_out_of_range) number = beyondRange(first, stop, isHex);
   if (end) *end = const_cast<char*>(stop);
   return isNegative ? -number : number;
}

int lorvexlua_print(char* text, const char* format, ...)
{
   va_list arguments;
   va_start(arguments, format);
   const int length = printList(text, INT_MAX, format, arguments);
   va_end(arguments);
   return length;
}

int lorvexlua_printBounded(char* text, size_t capacity, const char* format, ...)
{
   va_list arguments;
   va_start(arguments, format);
   const int length = printList(text, capacity, format, arguments);
   va_end(arguments);
   return length;
}

int lorvexlua_printToFile(FILE* file, const char* format, ...)
{
   va_list arguments;
   va_start(arguments, format);
   int length = 0;
   if (isFloatingConversion(format)) {
      char number[kNumberCapacity];
      const size_t size = printNumber(number, format, va_arg(arguments, double));
      length = std::fwrite(number, 1, size, file) == size ? static_cast<int>(size) : -1;
   } else {
      length = std::vfprintf(file, format, arguments);
   }
   va_end(arguments);
   return length;
}

int lorvexlua_scanNumber(FILE* file, double* number)
{
   NumberScan scan(file);
   scan.takeAny("+-");
   bool isHex = false;
   size_t digits = 0;
   if (scan.takeAny("0")) {
      isHex = scan.takeAny("xX");
      digits = isHex ? 0 : 1;
   }
   bool (*const isWanted)(int) = isHex ? isHexDigit : isDigit;
   digits += scan.takeDigits(isWanted);
   if (scan.takeAny(".")) digits += scan.takeDigits(isWanted);
   if (digits > 0 && scan.takeAny(isHex ? "pP" : "eE")) {
      scan.takeAny("+-");
      scan.takeDigits(isDigit);
   }
   double scanned = 0;
   if (!scan.finish(scanned)) return 0;
   *number = scanned;
   return 1;
}
