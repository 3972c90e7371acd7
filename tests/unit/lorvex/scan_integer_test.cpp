#include "lorvex/scan_integer.h"

#include <cstdio>
#include <gtest/gtest.h>
#include <optional>
#include <string>

namespace {

// The number, or none; *result is what the scanner said.
std::optional<int32_t> scan(const std::string& text, int* result = nullptr)
{
   int32_t value = 0x5555;
   const int scanned = lorvex_scanInteger(text.c_str(), &value);
   if (result) *result = scanned;
   if (scanned == 1) return value;
   EXPECT_EQ(value, 0x5555) << text;
   return std::nullopt;
}

} // namespace

TEST(ScanInteger, ReadsDecimalHexadecimalAndOctal)
{
   EXPECT_EQ(scan("16\">"), 16);
   EXPECT_EQ(scan("0x10\">"), 16);
   EXPECT_EQ(scan("0X1f"), 31);
   EXPECT_EQ(scan("0xAbCdEf"), 0xABCDEF);
   EXPECT_EQ(scan("010\">"), 8);
   EXPECT_EQ(scan("0"), 0);
}

TEST(ScanInteger, ReadsSignsAndWhiteSpaceInFront)
{
   EXPECT_EQ(scan("-52006\">"), -52006);
   EXPECT_EQ(scan("+7"), 7);
   EXPECT_EQ(scan("-0x10"), -16);
   EXPECT_EQ(scan("-010"), -8);
   EXPECT_EQ(scan(" \t\r\n\v\f-1"), -1);
}

TEST(ScanInteger, StopsAtTheFirstOtherCharacter)
{
   EXPECT_EQ(scan("12a"), 12);
   EXPECT_EQ(scan("089"), 0) << "8 is no octal digit";
   EXPECT_EQ(scan("0x1g"), 1);
   EXPECT_EQ(scan("1 2"), 1);
   EXPECT_EQ(scan("1.5"), 1);
}

TEST(ScanInteger, TellsATextWithoutANumberFromOneWithoutAnything)
{
   int result = 1;
   for (const char* text : {"abc", "\">", "-", "+", "--1", "- 1", "-abc", "x10", "0x", "0xg", "'1"})
   {
      EXPECT_EQ(scan(text, &result), std::nullopt) << text;
      EXPECT_EQ(result, 0) << text;
   }
   for (const char* text : {"", " ", "\r\n"}) {
      EXPECT_EQ(scan(text, &result), std::nullopt);
      EXPECT_EQ(result, -1);
   }
}

TEST(ScanInteger, TakesTheLow32BitsOfALargerNumber)
{
   EXPECT_EQ(scan("2147483647"), INT32_MAX);
   EXPECT_EQ(scan("-2147483648"), INT32_MIN);
   EXPECT_EQ(scan("2147483648"), INT32_MIN);
   EXPECT_EQ(scan("0xFFFF34DA"), -52006);
   EXPECT_EQ(scan("4294915290"), -52006);
   EXPECT_EQ(scan("0x100000001"), 1);
   EXPECT_EQ(scan("-4294967297"), -1);
}

TEST(ScanInteger, TakesTheNearestNumberOf64BitsForOneBeyond)
{
   EXPECT_EQ(scan("0x7FFFFFFFFFFFFFFF"), -1);
   EXPECT_EQ(scan("0xFFFFFFFFFFFFFFFF"), -1);
   EXPECT_EQ(scan(std::string(1000, '9')), -1);
   EXPECT_EQ(scan("-9223372036854775808"), 0);
   EXPECT_EQ(scan("-" + std::string(1000, '9')), 0);
   EXPECT_EQ(scan("9223372036854775808"), -1);
   EXPECT_EQ(scan("0x8000000000000000"), -1);
   EXPECT_EQ(scan("-9223372036854775809"), 0);
   EXPECT_EQ(scan("0x10000000000000000"), -1);
}

// Each of them is a number of 64 bits whose low 32 are not those of the nearest limit.
TEST(ScanInteger, ReadsNumbersJustBelowTheLimitsToTheirLastDigit)
{
   EXPECT_EQ(scan("0x7FFFFFFFFFFFFFF0"), -16);
   EXPECT_EQ(scan("0x7FFFFFFFFFFFFFFE"), -2);
   EXPECT_EQ(scan("9223372036854775806"), -2);
   EXPECT_EQ(scan("9223372036854775799"), -9);
   EXPECT_EQ(scan("0777777777777777777770"), -8);
   EXPECT_EQ(scan("-9223372036854775807"), 1);
   EXPECT_EQ(scan("-0x7FFFFFFFFFFFFFF1"), 15);
   EXPECT_EQ(scan("-0777777777777777777771"), 7);
}

// "0x" without digits is not among these texts: the scanners of some systems take it for 0.
TEST(ScanInteger, AgreesWithTheStandardScanner)
{
   for (const char* text : {"1",
                            "-1",
                            "0x10",
                            "010",
                            "09",
                            "+3",
                            " 4",
                            "",
                            " ",
                            "a",
                            "-",
                            "+a",
                            "0",
                            "00",
                            "-0",
                            "0b1",
                            "99999999999",
                            "0xFFFF34DA",
                            "99999999999999999999",
                            "-99999999999999999999",
                            "1e3",
                            "7\""})
   {
      int expected = 0x5555;
      const int expectedResult = std::sscanf(text, "%i", &expected);
      int32_t value = 0x5555;
      EXPECT_EQ(lorvex_scanInteger(text, &value), expectedResult) << text;
      EXPECT_EQ(value, expected) << text;
   }
}
