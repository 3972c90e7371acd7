#include "platform/code_page.h"

#include "support/failing_malloc.h"
#include "unit/platform/converted_text.h"

#include <array>
#include <fstream>
#include <gmock/gmock.h>
#include <iomanip>
#include <sstream>
#include <string>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::string hex(const std::string& bytes)
{
   std::ostringstream text;
   text << std::hex << std::uppercase << std::setfill('0');
   for (const char byte : bytes)
      text << std::setw(2) << int{static_cast<unsigned char>(byte)};
   return text.str();
}

// What a second converter says of every sequence of one and of two bytes; see the script that wrote
// the file.
class Expectations
{
public:
   Expectations()
      : file_(CODE_PAGE_EXPECTATIONS, std::ios::binary)
   {
      EXPECT_TRUE(file_.good()) << "cannot read " CODE_PAGE_EXPECTATIONS;
   }

   Units next()
   {
      std::array<unsigned char, 6> record{};
      file_.read(reinterpret_cast<char*>(record.data()), record.size());
      EXPECT_TRUE(file_.good()) << CODE_PAGE_EXPECTATIONS " ends too early";
      const auto number = [&](size_t i) {
         return static_cast<uint16_t>(record[i] | record[i + 1] << 8);
      };
      Units units = {number(2), number(4)};
      units.resize(number(0));
      return units;
   }

   bool isAtEnd() { return file_.peek() == std::ifstream::traits_type::eof(); }

private:
   std::ifstream file_;
};

// Compares and returns how many sequences it found refused, which tells an empty comparison.
void compareWithNext(Expectations& expectations, uint32_t page, const std::string& sequence,
                     int* refused)
{
   const Units expected = expectations.next();
   *refused += expected.empty() ? 1 : 0;
   EXPECT_EQ(convert(page, sequence), expected) << "code page " << page << ", " << hex(sequence);
}

} // namespace

TEST(CodePage, EveryOneAndTwoByteSequenceIsWhatWindowsMakesOfIt)
{
   Expectations expectations;
   for (const uint32_t page : kPages) {
      int refused = 0;
      for (int first = 0; first < 256; ++first)
         compareWithNext(expectations, page, {static_cast<char>(first)}, &refused);
      for (int first = 0; first < 256; ++first)
         for (int second = 0; second < 256; ++second)
            compareWithNext(expectations, page,
                            {static_cast<char>(first), static_cast<char>(second)}, &refused);
      if (page == 1252)
         EXPECT_EQ(refused, 0);
      else
         EXPECT_GT(refused, 8000);
   }
   EXPECT_TRUE(expectations.isAtEnd());
}

TEST(CodePage1252, BytesWithoutACharacterAreControls)
{
   EXPECT_THAT(convert(1252, "\x81\x8D\x8F\x90\x9D"), ElementsAre(0x81, 0x8D, 0x8F, 0x90, 0x9D));
}

TEST(CodePage1252, BytesAboveAsciiHaveTheirCharacters)
{
   EXPECT_THAT(convert(1252, "\x80\x85\x99\xA0\xE9\xFF"),
               ElementsAre(0x20AC, 0x2026, 0x2122, 0xA0, 0xE9, 0xFF));
}

TEST(CodePage932, TheBackslashAndTheTildeStayAscii)
{
   EXPECT_THAT(convert(932, "\\~"), ElementsAre('\\', '~'));
}

TEST(CodePage932, Byte80IsAControl)
{
   EXPECT_THAT(convert(932, "\x80"), ElementsAre(0x80));
}

TEST(CodePage932, SingleBytesOfThePrivateUseAreaAreRefused)
{
   for (const char* text : {"\xA0", "\xFD", "\xFE", "\xFF"})
      EXPECT_THAT(convert(932, text), IsEmpty()) << hex(text);
}

TEST(CodePage932, HalfWidthKatakanaAreSingleBytes)
{
   EXPECT_THAT(convert(932, "\xA1\xB1\xDF"), ElementsAre(0xFF61, 0xFF71, 0xFF9F));
}

TEST(CodePage932, SymbolsAreThoseOfWindowsAndNotOfTheStandard)
{
   EXPECT_THAT(
      convert(932, "\x81\x50\x81\x5C\x81\x5F\x81\x60\x81\x61\x81\x7C\x81\x8F\x81\x91"
                   "\x81\x92\x81\xCA"),
      ElementsAre(0xFFE3, 0x2015, 0xFF3C, 0xFF5E, 0x2225, 0xFF0D, 0xFFE5, 0xFFE0, 0xFFE1, 0xFFE2));
}

TEST(CodePage932, RepeatedCharactersOfTheMakersAreMapped)
{
   // NEC's row 13, NEC's selection of IBM's characters, and IBM's own place for the same.
   EXPECT_THAT(convert(932, "\x87\x40\x87\x54\x87\x90\xED\x40\xEE\xFC\xFA\x40\xFA\x54\xFC\x4B"),
               ElementsAre(0x2460, 0x2160, 0x2252, 0x7E8A, 0xFF02, 0x2170, 0xFFE2, 0x9ED1));
}

TEST(CodePage932, TheMiddleDotThatWindowsPutsForUnknownSequencesIsItselfAccepted)
{
   EXPECT_THAT(convert(932, "\x81\x45"), ElementsAre(0x30FB));
   EXPECT_THAT(convert(932, "\x81\xAD"), IsEmpty());
}

TEST(CodePage932, UserDefinedCharactersAreThePrivateUseArea)
{
   EXPECT_THAT(convert(932, "\xF0\x40\xF0\x7E\xF0\x80\xF0\xFC\xF1\x40\xF9\xFC"),
               ElementsAre(0xE000, 0xE03E, 0xE03F, 0xE0BB, 0xE0BC, 0xE757));
   for (const char* text : {"\xF0\x3F", "\xF0\x7F", "\xF0\xFD", "\xFC\x4C"})
      EXPECT_THAT(convert(932, text), IsEmpty()) << hex(text);
}

TEST(CodePage949, Byte80IsAControlAndByteFFIsRefused)
{
   EXPECT_THAT(convert(949, "\x80"), ElementsAre(0x80));
   EXPECT_THAT(convert(949, "\xFF"), IsEmpty());
}

TEST(CodePage949, HangulIsMappedInAndOutsideTheStandardsRows)
{
   EXPECT_THAT(convert(949, "\x81\x41\xB0\xA1\xC6\x52\xC8\xFE\xCA\xA1"),
               ElementsAre(0xAC02, 0xAC00, 0xD7A3, 0xD79D, 0x4F3D));
}

TEST(CodePage949, TheEuroAndRegisteredSignsAreMappedAndThePostalSignIsRefused)
{
   EXPECT_THAT(convert(949, "\xA2\xE6\xA2\xE7"), ElementsAre(0x20AC, 0xAE));
   EXPECT_THAT(convert(949, "\xA2\xE8"), IsEmpty());
}

TEST(CodePage949, UserDefinedCharactersAreThePrivateUseArea)
{
   EXPECT_THAT(convert(949, "\xC9\xA1\xC9\xFE\xFE\xA1\xFE\xFE"),
               ElementsAre(0xE000, 0xE05D, 0xE05E, 0xE0BB));
   for (const char* text : {"\xC9\xA0", "\xC9\xFF", "\xFE\xA0", "\xFE\x41"})
      EXPECT_THAT(convert(949, text), IsEmpty()) << hex(text);
}

TEST(CodePage936, Byte80IsTheEuroAndByteFFIsRefused)
{
   EXPECT_THAT(convert(936, "\x80"), ElementsAre(0x20AC));
   EXPECT_THAT(convert(936, "\xFF"), IsEmpty());
}

TEST(CodePage936, SymbolsAreThoseOfWindowsAndNotOfTheStandard)
{
   EXPECT_THAT(convert(936, "\xA1\xA4\xA1\xAA\xA8\x44\xA2\xA1\xA6\xE0\xA8\xBB"),
               ElementsAre(0xB7, 0x2014, 0x2015, 0x2170, 0xFE35, 0x251));
}

TEST(CodePage936, IdeographsAreMapped)
{
   EXPECT_THAT(convert(936, "\x81\x40\xB0\xA1\xD7\xF9\xFD\x9B\xFD\x9C\xFE\x4F"),
               ElementsAre(0x4E02, 0x554A, 0x5EA7, 0x9FA5, 0xF92C, 0xFA29));
}

TEST(CodePage936, UserDefinedCharactersAreThePrivateUseArea)
{
   EXPECT_THAT(
      convert(936, "\xAA\xA1\xAF\xFE\xF8\xA1\xFE\xFE\xA1\x40\xA1\x7E\xA1\x80\xA1\xA0"
                   "\xA2\x40\xA7\xA0"),
      ElementsAre(0xE000, 0xE233, 0xE234, 0xE4C5, 0xE4C6, 0xE504, 0xE505, 0xE525, 0xE526, 0xE765));
   for (const char* text : {"\xA1\x7F", "\xA1\x3F", "\xAA\xFF"})
      EXPECT_THAT(convert(936, text), IsEmpty()) << hex(text);
}

TEST(CodePage936, PlacesThatWereEmptyWhenThePageWasMadeAreThePrivateUseArea)
{
   EXPECT_THAT(convert(936, "\xA2\xAB\xA2\xB0\xA2\xE3\xA6\xF3\xA6\xF6\xA8\x96\xA8\xA0\xA8\xBC"
                            "\xA8\xBF\xA9\x95\xA9\x97\xD7\xFA\xFE\x50\xFE\x7E\xFE\x80\xFE\xA0"),
               ElementsAre(0xE766, 0xE76B, 0xE76C, 0xE796, 0xE797, 0xE7BC, 0xE7C6, 0xE7C7, 0xE7C8,
                           0xE7F3, 0xE7F4, 0xE810, 0xE815, 0xE843, 0xE844, 0xE864));
}

TEST(CodePage936, EveryLeadByteWithEveryTrailByteIsMapped)
{
   for (int lead = 0x81; lead <= 0xFE; ++lead)
      for (int trail = 0x40; trail <= 0xFE; ++trail) {
         const std::string pair = {static_cast<char>(lead), static_cast<char>(trail)};
         EXPECT_EQ(convert(936, pair).size(), trail == 0x7F ? 0u : 1u) << hex(pair);
      }
}

TEST(CodePage, ASequenceThatTheEndCutsOffIsRefused)
{
   EXPECT_THAT(convert(932, "a\x82"), IsEmpty());
   EXPECT_THAT(convert(949, "a\xB0"), IsEmpty());
   EXPECT_THAT(convert(936, "a\xB0"), IsEmpty());
}

TEST(CodePage, ALeadByteTakesTheNextByteWhateverItIs)
{
   // The second 0x82 belongs to the first, so the third is the one that the end cuts off.
   EXPECT_THAT(convert(932, "\x82\x82\x82"), IsEmpty());
   EXPECT_THAT(convert(932, std::string("\x82\0", 2)), IsEmpty());
}

TEST(CodePage, TheTextEndsWhereItsLengthSays)
{
   uint16_t units[4] = {0, 0, 0, 0x5555};
   EXPECT_EQ(platform::measureUtf16(932, "a\x82\xA0\x82", 3), 2u);
   EXPECT_EQ(platform::convertToUtf16(932, "a\x82\xA0\x82", 3, units, 4), 2u);
   EXPECT_THAT(units, ElementsAre('a', 0x3042, 0, 0x5555));
}

TEST(CodePage, ANulByteInTheTextIsAZeroUnit)
{
   for (const uint32_t page : kPages)
      EXPECT_THAT(convert(page, std::string("a\0b", 3)), ElementsAre('a', 0, 'b')) << page;
}

TEST(CodePage, NoTextIsNoUnits)
{
   for (const uint32_t page : kPages)
      EXPECT_THAT(convert(page, ""), IsEmpty()) << page;
   EXPECT_THAT(convert(platform::kSystemCodePage, ""), IsEmpty());
}

TEST(CodePage, ABadSequenceAnywhereInALongTextRefusesAllOfIt)
{
   struct Case
   {
      uint32_t page;
      std::string good, bad;
   };
   const Case cases[] = {
      {932, "\x93\xFA\x96\x7B", "\xFF"},     {932, "\x93\xFA\x96\x7B", "\x81\xAD"},
      {932, "\x93\xFA\x96\x7B", "\x82\x7F"}, {949, "\xB0\xA1\xC7\xD1", "\xFF"},
      {949, "\xB0\xA1\xC7\xD1", "\xA2\xE8"}, {936, "\xD6\xD0\xCE\xC4", "\xFF"},
      {936, "\xD6\xD0\xCE\xC4", "\xA1\x7F"},
   };
   constexpr size_t kRepeats = 5000;
   for (const Case& c : cases) {
      std::string text;
      for (size_t i = 0; i < kRepeats; ++i)
         text += c.good;
      ASSERT_EQ(convert(c.page, text).size(), kRepeats * 2) << hex(c.good);
      for (const size_t position : {size_t{0}, c.good.size(), text.size() / 2, text.size()}) {
         std::string spoilt = text;
         spoilt.insert(position, c.bad);
         EXPECT_THAT(convert(c.page, spoilt), IsEmpty())
            << "code page " << c.page << ", " << hex(c.bad) << " at " << position;
      }
   }
}

TEST(CodePage, TooLittleRoomIsRefusedAndNothingIsWrittenBehindIt)
{
   uint16_t units[] = {0, 0, 0x5555};
   EXPECT_EQ(platform::convertToUtf16(932, "abc", 3, units, 2), 0u);
   EXPECT_EQ(units[2], 0x5555);
   EXPECT_EQ(platform::convertToUtf16(platform::kSystemCodePage, "abc", 3, units, 2), 0u);
   EXPECT_EQ(units[2], 0x5555);
   EXPECT_EQ(platform::convertToUtf16(932, "ab", 2, units, 2), 2u);
}

TEST(CodePage, ConvertingTakesNoMemory)
{
   uint16_t units[4];
   size_t allocations = 0;
   for (const uint32_t page : kPages) {
      const FailingMalloc counted(SIZE_MAX - 1);
      platform::measureUtf16(page, "\xA5\xA5\xA5\xA5", 4);
      platform::convertToUtf16(page, "\xA5\xA5\xA5\xA5", 4, units, 4);
      allocations += counted.count();
   }
   EXPECT_EQ(allocations, 0u);
}
