#include "quelerr/utf.h"

#include "support/failing_malloc.h"
#include "support/owned.h"

#include <gtest/gtest.h>

namespace {

constexpr int32_t kMemoryFull = -52000;

std::u16string widen(std::string_view text)
{
   OwnedWideString string;
   OwnedStatus status;
   quelerr_utf8ToUtf16(text.data(), text.data() + text.size(), quelerr_WideSink{&string, &status});
   EXPECT_EQ(status.code, 0);
   return unitsOf(string);
}

std::string narrow(std::u16string_view text)
{
   const auto units = wideName(text);
   OwnedString string;
   OwnedByteBuffer buffer;
   OwnedStatus status;
   quelerr_utf16ToUtf8(units.data(), units.data() + units.size(),
                       quelerr_StringSink{&string, &status});
   quelerr_utf16ToUtf8(units.data(), units.data() + units.size(),
                       quelerr_ByteSink{&buffer, &status});
   EXPECT_EQ(status.code, 0);
   EXPECT_EQ(std::string_view(buffer.data, buffer.length), string.text());
   return string.text();
}

struct Decoded
{
   uint32_t codePoint;
   ptrdiff_t taken;

   bool operator==(const Decoded&) const = default;
};

void PrintTo(const Decoded& decoded, std::ostream* out)
{
   *out << std::hex << decoded.codePoint << " from " << decoded.taken << " bytes";
}

Decoded decode(std::string_view bytes)
{
   const char* cursor = bytes.data();
   const uint32_t codePoint = quelerr_decodeUtf8(&cursor, bytes.data() + bytes.size());
   return {codePoint, cursor - bytes.data()};
}

TEST(DecodeUtf8, TakesAsManyBytesAsTheLeadByteSays)
{
   EXPECT_EQ(decode("Az"), (Decoded{'A', 1}));
   EXPECT_EQ(decode("\xC3\xA9"), (Decoded{0xE9, 2}));
   EXPECT_EQ(decode("\xE2\x82\xAC"), (Decoded{0x20AC, 3}));
   EXPECT_EQ(decode("\xF0\x9F\x98\x80"), (Decoded{0x1F600, 4}));
}

TEST(DecodeUtf8, EveryBitOfTheLeadByteBehindItsMarkCounts)
{
   EXPECT_EQ(decode("\xDF\xBF"), (Decoded{0x7FF, 2}));
   EXPECT_EQ(decode("\xEF\xBF\xBF"), (Decoded{0xFFFF, 3}));
   EXPECT_EQ(decode("\xF1\x80\x80\x80"), (Decoded{0x40000, 4}));
   EXPECT_EQ(decode("\xF7\xBF\xBF\xBF"), (Decoded{0x1FFFFF, 4}));
}

TEST(DecodeUtf8, ByteThatLeadsNothingIsItsOwnValue)
{
   EXPECT_EQ(decode("\x80"), (Decoded{0x80, 1}));
   EXPECT_EQ(decode("\xBFx"), (Decoded{0xBF, 1}));
   EXPECT_EQ(decode("\xF8\x80"), (Decoded{0xF8, 1}));
   EXPECT_EQ(decode("\xFF"), (Decoded{0xFF, 1}));
}

TEST(DecodeUtf8, TopBitsOfFollowingBytesDoNotMatter)
{
   EXPECT_EQ(decode("\xC3i"), (Decoded{0xE9, 2}));
   EXPECT_EQ(decode("\xE2\x02\x2C"), (Decoded{0x20AC, 3}));
}

TEST(DecodeUtf8, NeverReadsBeyondTheRange)
{
   // Views into a longer text, so that a read too far would give another number.
   EXPECT_EQ(decode(std::string_view("\xC3\xA9", 1)), (Decoded{0xC0, 1}));
   EXPECT_EQ(decode(std::string_view("\xE2\x82\xAC", 2)), (Decoded{0x2080, 2}));
   EXPECT_EQ(decode(std::string_view("\xF0\x9F\x98\x80", 1)), (Decoded{0, 1}));
}

TEST(Utf8ToUtf16, WidensEveryLength)
{
   EXPECT_EQ(widen(""), u"");
   EXPECT_EQ(widen("A\xC3\xA9\xE2\x82\xAC"), u"A\u00E9\u20AC");
   EXPECT_EQ(widen("\xEF\xBF\xBF"), u"\uFFFF");
}

TEST(Utf8ToUtf16, CodePointAboveFFFFBecomesASurrogatePair)
{
   EXPECT_EQ(widen("\xF0\x90\x80\x80"), u"\U00010000");
   EXPECT_EQ(widen("\xF4\x8F\xBF\xBF"), u"\U0010FFFF");
}

TEST(Utf8ToUtf16, AppendsBehindWhatIsThere)
{
   OwnedWideString string;
   OwnedStatus status;
   const std::string_view text = "ab";
   for (int i = 0; i < 2; ++i)
      quelerr_utf8ToUtf16(text.data(), text.data() + 2, quelerr_WideSink{&string, &status});
   EXPECT_EQ(unitsOf(string), u"abab");
}

TEST(Utf8ToUtf16, WithoutMemoryHalfWayTheTextStays)
{
   OwnedWideString string;
   OwnedStatus status;
   const std::string text(100, 'x');
   const quelerr_WideSink sink{&string, &status};
   quelerr_utf8ToUtf16(text.data(), text.data() + text.size(), sink);
   {
      FailingMalloc failing(0);
      quelerr_utf8ToUtf16(text.data(), text.data() + text.size(), sink);
   }
   EXPECT_EQ(status.code, kMemoryFull);
   EXPECT_EQ(unitsOf(string), std::u16string(100, u'x'));
   EXPECT_EQ(string.data[100], 0u);
}

TEST(Utf16ToUtf8, WritesOneToFourBytesByTheLimits)
{
   EXPECT_EQ(narrow(u""), "");
   EXPECT_EQ(narrow(u"\u007F"), "\x7F");
   EXPECT_EQ(narrow(u"\u0080"), "\xC2\x80");
   EXPECT_EQ(narrow(u"\u07FF"), "\xDF\xBF");
   EXPECT_EQ(narrow(u"\u0800"), "\xE0\xA0\x80");
   EXPECT_EQ(narrow(u"\uFFFF"), "\xEF\xBF\xBF");
   EXPECT_EQ(narrow(u"\U00010000"), "\xF0\x90\x80\x80");
   EXPECT_EQ(narrow(u"\U0010FFFF"), "\xF4\x8F\xBF\xBF");
}

TEST(Utf16ToUtf8, ZeroUnitsAreText)
{
   EXPECT_EQ(narrow(std::u16string_view(u"a\0b", 3)), std::string("a\0b", 3));
}

TEST(Utf16ToUtf8, LoneFirstSurrogateAtTheEndIsDropped)
{
   const char16_t units[] = {'a', 0xD83D};
   EXPECT_EQ(narrow(std::u16string_view(units, 2)), "a");
   EXPECT_EQ(narrow(std::u16string_view(units + 1, 1)), "");
}

TEST(Utf16ToUtf8, LoneSecondSurrogateStandsForItself)
{
   const char16_t units[] = {0xDC00, 'a'};
   EXPECT_EQ(narrow(std::u16string_view(units, 2)), "\xED\xB0\x80"
                                                    "a");
}

TEST(Utf16ToUtf8, PartnerOfAFirstSurrogateIsNotChecked)
{
   // 0x10000 + 0 + ('A' - 0xDC00), which is 0x2441
   const char16_t units[] = {0xD800, 'A', 'b'};
   EXPECT_EQ(narrow(std::u16string_view(units, 3)), "\xE2\x91\x81"
                                                    "b");
}

TEST(Utf16ToUtf8, WithoutMemoryHalfWayTheTextStays)
{
   const auto units = wideName(std::u16string(100, u'x'));
   OwnedString string;
   OwnedByteBuffer buffer;
   OwnedStatus stringStatus;
   OwnedStatus bufferStatus;
   const auto convertBoth = [&] {
      quelerr_utf16ToUtf8(units.data(), units.data() + 100,
                          quelerr_StringSink{&string, &stringStatus});
      quelerr_utf16ToUtf8(units.data(), units.data() + 100,
                          quelerr_ByteSink{&buffer, &bufferStatus});
   };
   convertBoth();
   {
      FailingMalloc failing(0, FailingMalloc::Then::failAlways);
      convertBoth();
   }
   EXPECT_EQ(stringStatus.code, kMemoryFull);
   EXPECT_EQ(bufferStatus.code, kMemoryFull);
   EXPECT_EQ(string.text(), std::string(100, 'x'));
   EXPECT_EQ(std::string_view(buffer.data, buffer.length), std::string(100, 'x'));
}

TEST(Utf16ToUtf8, ErrorInTheStatusKeepsTheSinkAsItIs)
{
   const auto units = wideName(u"text");
   OwnedString string;
   OwnedByteBuffer buffer;
   OwnedStatus status(-1);
   quelerr_utf16ToUtf8(units.data(), units.data() + 4, quelerr_StringSink{&string, &status});
   quelerr_utf16ToUtf8(units.data(), units.data() + 4, quelerr_ByteSink{&buffer, &status});
   EXPECT_EQ(string.data, nullptr);
   EXPECT_EQ(buffer.data, nullptr);
}

} // namespace
