// Numbers as text are what the C library makes of them in the locale "C", in which tests run.
#include "lorvexlua/number_text.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <random>
#include <string>

namespace {

// A number's bits, so that NaN equals itself and the two zeros differ; and what was left unread.
std::string read(double (*convert)(const char*, char**), const std::string& text)
{
   char* end = nullptr;
   const double number = convert(text.c_str(), &end);
   const std::string bits =
      std::isnan(number) ? "nan" : std::to_string(std::bit_cast<uint64_t>(number));
   return bits + " before '" + end + "'";
}

double readOfTheSystem(const char* text, char** end)
{
   return std::strtod(text, end);
}

void expectReadAsTheSystemDoes(const std::string& text)
{
   EXPECT_EQ(read(lorvexlua_readNumber, text), read(readOfTheSystem, text)) << text;
}

TEST(NumberText, IsReadAsFarAsItIsANumber)
{
   for (const char* text : {"",
                            " ",
                            "0",
                            "-0",
                            "+1",
                            "--1",
                            "+-1",
                            "-+1",
                            "1.",
                            ".5",
                            ".",
                            "-.5",
                            "1e",
                            "1e+",
                            "1e5",
                            "1E-5",
                            "1e5x",
                            "1.5.5",
                            " \t\n\v\f\r12",
                            "12 ",
                            "1,5",
                            "e5",
                            "x",
                            "0x",
                            "0xg",
                            "0x1",
                            "0X1F",
                            "-0x1p4",
                            "0x.8",
                            "0x1.8p1",
                            "0x1p",
                            "0x1p-1074",
                            "inf",
                            "-INFINITY",
                            "infinit",
                            "nan",
                            "-NaN",
                            "nanx",
                            "nan(1)",
                            "1_0",
                            "00012",
                            "1e0000000005",
                            "- 1",
                            "0x-1"})
      expectReadAsTheSystemDoes(text);
}

TEST(NumberText, BeyondTheRangeIsInfiniteOrNothing)
{
   for (const char* text : {"1e308",
                            "1e309",
                            "-1e309",
                            "1.7976931348623157e308",
                            "1.7976931348623159e308",
                            "1e400",
                            "1e99999999999999999999",
                            "1e-99999999999999999999",
                            "4.9e-324",
                            "2.5e-324",
                            "2.4e-324",
                            "-1e-400",
                            "0e999999",
                            "0.0000e-999999",
                            "2.2250738585072011e-308",
                            "0x1p1024",
                            "0x1p-1075",
                            "0x1p-1080",
                            "0x0.00000000001p-1100",
                            "0x1000000000000p1000"})
      expectReadAsTheSystemDoes(text);
   expectReadAsTheSystemDoes(std::string(400, '9'));
   expectReadAsTheSystemDoes("0." + std::string(400, '0') + "1");
   expectReadAsTheSystemDoes("0." + std::string(400, '0') + "1e401");
   expectReadAsTheSystemDoes(std::string(400, '9') + "e-400");
   expectReadAsTheSystemDoes("1" + std::string(400, '0') + "." + std::string(400, '0') + "e-800");
}

TEST(NumberText, AnyNumberIsReadAsItWasWritten)
{
   std::mt19937_64 random(20260131);
   for (int i = 0; i < 20000; ++i) {
      const auto number = std::bit_cast<double>(random());
      char text[64];
      std::snprintf(text, sizeof text, i % 3 == 0 ? "%.17g" : i % 3 == 1 ? "%.14g" : "%a", number);
      expectReadAsTheSystemDoes(text);
   }
}

// Each format is one of the test's own.
// NOLINTBEGIN(*-format-nonliteral)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#pragma GCC diagnostic ignored "-Wformat-security"
template <typename... Values>
std::string written(const char* format, Values... values)
{
   char text[600];
   const int length = lorvexlua_print(text, format, values...);
   EXPECT_EQ(static_cast<size_t>(length), std::string(text).size()) << format;
   return text;
}

std::string writtenByTheSystem(const char* format, double number)
{
   char text[600];
   std::snprintf(text, sizeof text, format, number);
   return text;
}
#pragma GCC diagnostic pop
// NOLINTEND(*-format-nonliteral)

TEST(NumberText, IsWrittenAsTheFormatSays)
{
   const double numbers[] = {0.0,
                             -0.0,
                             0.5,
                             -1.5,
                             100,
                             1e10,
                             1e100,
                             1.0 / 3,
                             -2e-10,
                             123456789.125,
                             std::numeric_limits<double>::max(),
                             std::numeric_limits<double>::denorm_min(),
                             std::numeric_limits<double>::infinity(),
                             -std::numeric_limits<double>::infinity(),
                             std::numeric_limits<double>::quiet_NaN()};
   for (const char* flags : {"", "-", "+", " ", "#", "0", "+0", "-0", "# 0", "+-#", "+ "})
      for (const char* size : {"", "3", "12", "99", ".", ".0", ".3", "20.10", "99.99"})
         for (const char* letter : {"e", "E", "f", "g", "G"})
            for (const double number : numbers) {
               const std::string format = std::string("%") + flags + size + letter;
               EXPECT_EQ(written(format.c_str(), number),
                         writtenByTheSystem(format.c_str(), number))
                  << format;
            }
}

TEST(NumberText, OtherConversionsAreTheSystemsOwn)
{
   EXPECT_EQ(written("%5d|%s|%%", 42, "text"), "   42|text|%");
   EXPECT_EQ(written(""), "");
}

TEST(NumberText, BoundedTextIsCutAndItsWholeLengthTold)
{
   char text[4] = "xyz";
   EXPECT_EQ(lorvexlua_printBounded(text, sizeof text, "%g", 1234.5), 6);
   EXPECT_STREQ(text, "123");
   EXPECT_EQ(lorvexlua_printBounded(text, 0, "%g", 1.5), 3);
   EXPECT_STREQ(text, "123");
}

class NumberInAFile : public testing::Test
{
protected:
   ~NumberInAFile() override { std::fclose(file); }

   std::string scan(const std::string& content)
   {
      std::rewind(file);
      std::fwrite(content.data(), 1, content.size(), file);
      std::fputc('\n', file);
      std::rewind(file);
      double number = -77;
      const int count = lorvexlua_scanNumber(file, &number);
      const int next = std::getc(file);
      return std::to_string(count) + " " + std::to_string(number) + " " +
             (next == '\n' ? "end" : std::string(1, static_cast<char>(next)));
   }

   FILE* const file = std::tmpfile();
};

TEST_F(NumberInAFile, IsReadUpToWhatIsNoneOfIt)
{
   EXPECT_EQ(scan("  12.5rest"), "1 12.500000 r");
   EXPECT_EQ(scan("-0x10,"), "1 -16.000000 ,");
   EXPECT_EQ(scan("1e3"), "1 1000.000000 end");
   EXPECT_EQ(scan("0"), "1 0.000000 end");
   EXPECT_EQ(scan("1,5"), "1 1.000000 ,");
   EXPECT_EQ(scan("12ab"), "1 12.000000 a");
   EXPECT_EQ(scan("x"), "0 -77.000000 x");
   EXPECT_EQ(scan("0xp1"), "0 -77.000000 p");
   EXPECT_EQ(scan("-"), "0 -77.000000 end");
}

TEST_F(NumberInAFile, IsWrittenWithAFullStop)
{
   EXPECT_EQ(lorvexlua_printToFile(file, "%.14g", 1.5), 3);
   EXPECT_EQ(lorvexlua_printToFile(file, "%s:%d", "a", 1), 3);
   std::rewind(file);
   char text[16] = {};
   std::fgets(text, sizeof text, file);
   EXPECT_STREQ(text, "1.5a:1");
}

} // namespace
