#include "quelerr/json_text.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

// A text laid out in a buffer with a given number of free bytes behind its terminator.
struct Buffer
{
   explicit Buffer(std::string_view text, size_t room = 100)
      : bytes(text.size() + 2 + room, '\0')
   {
      std::memcpy(bytes.data(), text.data(), text.size());
      bytes.back() = kJsonSentinel;
   }
   const char* text() const { return bytes.c_str(); }
   std::string bytes;
};

std::string escaped(const char* text)
{
   std::string out(quelerr_json_escapedLength(text), '?');
   const char* const end = quelerr_json_writeEscaped(out.data(), text);
   EXPECT_EQ(end, out.data() + out.size());
   return out;
}

bool parsesWhole(std::string text)
{
   const char* const end = quelerr_json_findEnd(text.data());
   return end && end == text.data() + text.size() - 1;
}

bool fails(std::string text)
{
   return quelerr_json_findEnd(text.data()) == nullptr;
}

TEST(JsonText, EscapesWhatJsonForbids)
{
   EXPECT_EQ(escaped("\"\\\t\n\x1f\x7f"), R"(\"\\\t\n\u001f\u007f)");
   EXPECT_EQ(escaped("\b\f\r\x01"), R"(\b\f\r\u0001)");
   EXPECT_EQ(escaped("source\\zerovaapi\\api"), R"(source\\zerovaapi\\api)");
   EXPECT_EQ(escaped("a/b"), "a/b");
   EXPECT_EQ(escaped(""), "");
}

TEST(JsonText, Utf8IsUnchanged)
{
   EXPECT_EQ(escaped("Gerät 端子 \xF0\x9F\x98\x80"), "Gerät 端子 \xF0\x9F\x98\x80");
}

TEST(JsonText, EscapingWritesNothingBehindItsLastByte)
{
   char out[16];
   std::memset(out, '#', sizeof out);
   quelerr_json_writeEscaped(out, "\x7f");
   EXPECT_EQ(std::string(out, 8), "\\u007f##");
}

TEST(JsonText, MemberOfAnEmptyObjectGetsNoComma)
{
   Buffer buffer("{}");
   ASSERT_NE(quelerr_json_appendInt(buffer.bytes.data() + 1, "a", -7), nullptr);
   EXPECT_STREQ(buffer.text(), R"({"a":-7})");
}

TEST(JsonText, MemberOfABlankObjectGetsNoComma)
{
   Buffer buffer("{ \t\r\n}");
   ASSERT_NE(quelerr_json_appendUint(buffer.bytes.data() + 5, "a", 4294967295u), nullptr);
   EXPECT_STREQ(buffer.text(), "{ \t\r\n\"a\":4294967295}");
}

TEST(JsonText, LaterMemberGetsACommaBefore)
{
   Buffer buffer(R"({"a":1})");
   ASSERT_NE(quelerr_json_appendInt(buffer.bytes.data() + 6, "b", 2), nullptr);
   EXPECT_STREQ(buffer.text(), R"({"a":1,"b":2})");
}

TEST(JsonText, FirstMemberGetsTheCommaBehind)
{
   Buffer buffer(R"({"a":1})");
   ASSERT_NE(quelerr_json_appendInt(buffer.bytes.data(), "b", 2), nullptr);
   EXPECT_STREQ(buffer.text(), R"({"b":2,"a":1})");
}

TEST(JsonText, BareNumbersFillAnArray)
{
   Buffer buffer("[]");
   char* const behind = quelerr_json_appendInt(buffer.bytes.data() + 1, nullptr, 1);
   ASSERT_NE(behind, nullptr);
   EXPECT_EQ(*behind, ']');
   ASSERT_NE(quelerr_json_appendInt(behind, nullptr, 2), nullptr);
   EXPECT_STREQ(buffer.text(), "[1,2]");
}

TEST(JsonText, BlankBufferTakesABareValue)
{
   Buffer buffer("");
   ASSERT_NE(quelerr_json_appendInt(buffer.bytes.data(), nullptr, 5), nullptr);
   EXPECT_STREQ(buffer.text(), "5");
}

TEST(JsonText, RoomIsCountedToTheByte)
{
   Buffer exact(R"({"a":1})", 6); // ,"b":2
   EXPECT_NE(quelerr_json_appendInt(exact.bytes.data() + 6, "b", 2), nullptr);
   EXPECT_STREQ(exact.text(), R"({"a":1,"b":2})");
   EXPECT_EQ(exact.bytes.back(), kJsonSentinel);

   Buffer oneShort(R"({"a":1})", 5);
   const std::string before = oneShort.bytes;
   EXPECT_EQ(quelerr_json_appendInt(oneShort.bytes.data() + 6, "b", 2), nullptr);
   EXPECT_EQ(oneShort.bytes, before);
}

TEST(JsonText, SentinelLetterInAValueDoesNotStopTheRoomCalculation)
{
   Buffer buffer(R"({"J":"JJJ"})");
   EXPECT_EQ(quelerr_json_freeRoom(buffer.text()), 100u);
   ASSERT_NE(quelerr_json_appendInt(buffer.bytes.data() + 10, "b", 2), nullptr);
   EXPECT_STREQ(buffer.text(), R"({"J":"JJJ","b":2})");
}

TEST(JsonText, FindEndAcceptsWhatJsonAllows)
{
   for (const char* text :
        {"{}", "[]", R"({ "a" : [ 1 , true , null ] })", R"({"a":{"b":[[],{}]}})", "{ \t\r\n}",
         R"(["\"\/\\\b\f\n\r\t\u00aF"])", R"([-1.5e+10,0,false])", "[\"\xC3\xA4\"]"})
      EXPECT_TRUE(parsesWhole(text)) << text;
}

TEST(JsonText, FindEndIsPermissiveWithNumbers)
{
   for (const char* text : {"[-]", "[01]", "[1.]", "[1e+]", "[1E5]", "[2e-07]"})
      EXPECT_TRUE(parsesWhole(text)) << text;
   for (const char* text : {"[.5]", "[+1]", "[1e]", "[--1]", "[1.5.2]"})
      EXPECT_TRUE(fails(text)) << text;
}

TEST(JsonText, FindEndRefusesWhatIsNoContainer)
{
   for (const char* text : {"",
                            " {}",
                            "1",
                            "\"a\"",
                            R"({"a":1,})",
                            "[1,]",
                            R"({"a"})",
                            R"({"a":1)",
                            "{,}",
                            "[,]",
                            "{1:2}",
                            R"(["\q"])",
                            R"(["\u12g4"])",
                            R"(["\u123g"])",
                            R"(["\u123"])",
                            R"(["\ug234"])",
                            R"(["\u"])",
                            R"(["\u12)",
                            "[\"a",
                            "[\"\n\"]",
                            "[\"\\",
                            "[tru]",
                            "[nul",
                            "{",
                            "[",
                            R"({"a" 1})",
                            R"({"a":})",
                            "[1 2]",
                            "{]",
                            "[}"})
      EXPECT_TRUE(fails(text)) << text;
}

TEST(JsonText, FindEndLooksAtNothingBehindTheContainer)
{
   std::string text = "{}garbage";
   EXPECT_EQ(quelerr_json_findEnd(text.data()), text.data() + 1);
}

TEST(JsonText, LiteralsMatchAsPrefixes)
{
   EXPECT_TRUE(fails("[truest]"));
   EXPECT_TRUE(parsesWhole("[true ]"));
}

TEST(JsonText, FindEndTakesTenThousandLevels)
{
   EXPECT_TRUE(parsesWhole(std::string(10000, '[') + std::string(10000, ']')));
   EXPECT_TRUE(fails(std::string(10000, '[')));
}

TEST(JsonText, ResetBufferNeedsRoomForTerminatorAndSentinel)
{
   char buffer[8] = "1234567";
   EXPECT_EQ(quelerr_json_resetBuffer(buffer, 3, "{}"), nullptr);
   EXPECT_STREQ(buffer, "1234567");
   EXPECT_EQ(quelerr_json_resetBuffer(buffer, 4, "{}"), buffer + 1);
   EXPECT_EQ(std::string(buffer, 8), std::string("{}\0J567\0", 8));
}

TEST(JsonText, ResetBufferOfNullRenewsOnlyTheTail)
{
   char buffer[8] = {'{', '}', 0, 'x', 'x', 'x', 'x', 'x'};
   EXPECT_EQ(quelerr_json_resetBuffer(buffer, sizeof buffer, nullptr), buffer + 1);
   EXPECT_EQ(std::string(buffer, 8), std::string("{}\0\0\0\0\0J", 8));
}

} // namespace
