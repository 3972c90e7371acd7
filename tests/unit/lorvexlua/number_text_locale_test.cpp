// Numbers as text are in every locale what the C library makes of them in the locale "C".
#include "lorvexlua/number_text.h"

#include "support/other_locale.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

// The formats are made here, as scripts make them.
#pragma GCC diagnostic ignored "-Wformat-nonliteral"

namespace {

bool isSame(double left, double right)
{
   if (std::isnan(left) || std::isnan(right)) return std::isnan(left) && std::isnan(right);
   return left == right && std::signbit(left) == std::signbit(right);
}

const std::vector<double>& numbers()
{
   static const std::vector<double> kNumbers = [] {
      std::vector<double> made = {0.0,      -0.0,    1.0,      -1.0,   0.5,      1.5,
                                  2.5,      0.1,     1e15,     1e16,   1e-5,     123456.75,
                                  1e100,    1e300,   1e-300,   5e-324, 1e-310,   99999.5,
                                  999999.5, 2.0 / 3, HUGE_VAL, -1e308, -HUGE_VAL};
      made.push_back(std::nan(""));
      std::mt19937_64 random(5);
      for (int i = 0; i < 40; ++i) {
         const uint64_t bits = random();
         double number = 0;
         std::memcpy(&number, &bits, sizeof number);
         made.push_back(number);
      }
      return made;
   }();
   return kNumbers;
}

// Each that a script can give, by flags, width, precision and letter.
std::vector<std::string> formats()
{
   std::vector<std::string> made;
   for (const char* flags : {"", "-", "+", " ", "#", "0", "-+", "+0", " 0", "-#0", "+ #0"})
      for (const char* width : {"", "1", "9", "30", "99"})
         for (const char* precision : {"", ".", ".0", ".3", ".14", ".99"})
            for (const char letter : {'e', 'E', 'f', 'g', 'G'})
               made.push_back(std::string("%") + flags + width + precision + letter);
   return made;
}

std::string usual(const std::string& format, double number)
{
   char text[1024];
   const int length = std::snprintf(text, sizeof text, format.c_str(), number);
   return std::string(text, static_cast<size_t>(length));
}

std::string ours(const std::string& format, double number)
{
   char text[1024];
   const int length = lorvexlua_print(text, format.c_str(), number);
   EXPECT_EQ(static_cast<size_t>(length), std::strlen(text)) << format;
   return text;
}

class NumberTextInALocale : public testing::Test
{
protected:
   // Makes what is expected in the locale "C" and compares with what is given in all of them.
   template <typename Compare>
   static void inEveryLocale(Compare compare)
   {
      compare();
      for (const OtherLocale locale : {OtherLocale::german, OtherLocale::pashto}) {
         const ProcessLocale other(locale);
         compare();
      }
   }
};

TEST_F(NumberTextInALocale, EveryFormatGivesTheTextOfTheLocaleC)
{
   std::vector<std::string> expected;
   for (const std::string& format : formats())
      for (const double number : numbers())
         expected.push_back(usual(format, number));
   inEveryLocale([&] {
      size_t index = 0;
      for (const std::string& format : formats())
         for (const double number : numbers()) {
            const std::string& text = expected[index++];
            ASSERT_EQ(ours(format, number), text) << format;
         }
   });
}

TEST_F(NumberTextInALocale, BoundedTextIsCutAndItsWholeLengthTold)
{
   inEveryLocale([] {
      for (size_t capacity = 0; capacity < 9; ++capacity) {
         char text[16] = "###############";
         EXPECT_EQ(lorvexlua_printBounded(text, capacity, "%.14g", -1234.5), 7);
         const size_t kept = std::min<size_t>(capacity, 8);
         if (kept > 0) {
            EXPECT_EQ(text, std::string("-1234.5").substr(0, kept - 1));
         }
         EXPECT_EQ(text[kept], '#') << capacity;
      }
   });
}

TEST_F(NumberTextInALocale, OtherConversionsAreTheCLibrarys)
{
   char text[64];
   EXPECT_EQ(lorvexlua_print(text, "%5d|%s|%%|%c", 42, "words", 'x'), 15);
   EXPECT_STREQ(text, "   42|words|%|x");
}

std::vector<std::string> texts()
{
   std::vector<std::string> made = {"",
                                    " ",
                                    "0",
                                    "-0",
                                    "1",
                                    "+1",
                                    "-1",
                                    "--1",
                                    "+-1",
                                    "1.5",
                                    ".5",
                                    "5.",
                                    ".",
                                    "-.5",
                                    "1,5",
                                    "1e5",
                                    "1E5",
                                    "1e",
                                    "1e+",
                                    "1e-",
                                    "1e+5x",
                                    "1e5.5",
                                    "0x",
                                    "0x1F",
                                    "0X1f",
                                    "0x.8",
                                    "0x.",
                                    "0x1p3",
                                    "0x1p",
                                    "0x1P-3",
                                    "-0x10",
                                    "0x1.8p1",
                                    "inf",
                                    "-INF",
                                    "Infinity",
                                    "infinit",
                                    "nan",
                                    "-nan",
                                    "nan(1)",
                                    "nan(",
                                    "  \t\n 7",
                                    "7 8",
                                    "1_000",
                                    "1d",
                                    "1f",
                                    "1e400",
                                    "-1e400",
                                    "1e-400",
                                    "1e308",
                                    "1.8e308",
                                    "5e-324",
                                    "2e-324",
                                    "3e-324",
                                    "0e999999999999",
                                    "1e99999999999999999999",
                                    "1e-99999999999999999999",
                                    "0x1p2000",
                                    "0x1p-2000",
                                    "0x0p99999",
                                    "\xA0.1",
                                    "1\xD9\xAB.5",
                                    "9007199254740993",
                                    "0.1000000000000000055511151231257827",
                                    "179769313486231580793e289",
                                    "e5",
                                    "x1",
                                    "0b1"};
   made.push_back(std::string(400, '9'));
   made.push_back("0." + std::string(400, '0') + "1");
   made.push_back(std::string(400, '0') + "12.5");
   made.push_back("0x" + std::string(400, 'f'));
   made.push_back("1" + std::string(400, '0') + "e-400");
   made.push_back("0." + std::string(400, '0') + "1e401");
   made.push_back("1" + std::string(1000, '0') + "e-500"); // still too large
   made.push_back("0." + std::string(1000, '0') + "1e500");
   std::mt19937 random(6);
   const std::string alphabet = "0123456789.eE+-xX pPaAfF,n";
   for (int i = 0; i < 20000; ++i) {
      std::string text;
      for (size_t length = random() % 12; length > 0; --length)
         text += alphabet[random() % alphabet.size()];
      made.push_back(text);
   }
   for (const double number : numbers())
      for (const char* format : {"%.17g", "%.14g", "%a", "%e"})
         made.push_back(usual(format, number));
   return made;
}

TEST_F(NumberTextInALocale, EveryTextIsReadAsInTheLocaleC)
{
   struct Read
   {
      std::string text;
      double number;
      ptrdiff_t length;
   };
   std::vector<Read> expected;
   for (const std::string& text : texts()) {
      char* end = nullptr;
      const double number = std::strtod(text.c_str(), &end);
      expected.push_back({text, number, end - text.c_str()});
   }
   inEveryLocale([&] {
      for (const Read& read : expected) {
         char* end = nullptr;
         const double number = lorvexlua_readNumber(read.text.c_str(), &end);
         EXPECT_TRUE(isSame(number, read.number))
            << '"' << read.text << "\" " << number << " and not " << read.number;
         EXPECT_EQ(end - read.text.c_str(), read.length) << '"' << read.text << '"';
      }
   });
}

} // namespace
