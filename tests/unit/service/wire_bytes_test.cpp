#include "service/wire_bytes.h"

#include <gmock/gmock.h>

#include <stdexcept>

namespace zerova::test {
namespace {

using testing::SizeIs;
using namespace std::string_literals;

TEST(WireBytes, WritesIntegersMostSignificantByteFirst)
{
   EXPECT_EQ(WireBytes().i16(0x0102).i32(-2).bytes(), "\x01\x02\xFF\xFF\xFF\xFE"s);
}

TEST(WireBytes, WritesAWholeCallAsItStandsOnTheWire)
{
   const std::string expected = "\0\0\0\x14\x80\x01\0\x01\0\0\0\x07isDebug\0\0\0\0\0"s;
   EXPECT_EQ(WireBytes().message(wire::kCall, "isDebug").stop().frame(), expected);
}

TEST(WireBytes, WritesAHeaderWithoutAVersion)
{
   EXPECT_EQ(WireBytes().messageWithoutVersion(wire::kReply, "ab", 7).bytes(), "\0\0\0\x02"
                                                                               "ab\x02\0\0\0\x07"s);
}

TEST(WireBytes, WritesAFrameLengthThatLies)
{
   EXPECT_EQ(WireBytes().raw("x").frameAnnouncing(-1), "\xFF\xFF\xFF\xFFx");
}

TEST(WireBytes, WritesFieldsWithTypeAndNumber)
{
   EXPECT_EQ(WireBytes().i32Field(1, 5).bytes(), "\x08\0\x01\0\0\0\x05"s);
   EXPECT_EQ(WireBytes().boolField(3, true).bytes(), "\x02\0\x03\x01"s);
   EXPECT_EQ(WireBytes().textField(2, "hi").bytes(), "\x0B\0\x02\0\0\0\x02hi"s);
}

TEST(WireBytes, WritesAStatusReply)
{
   EXPECT_EQ(statusReply("m", -1, "{}"),
             "\0\0\0\x22\x80\x01\0\x02\0\0\0\x01m\0\0\0\0"
             "\x0C\0\x01\x08\0\x01\xFF\xFF\xFF\xFF\x0B\0\x02\0\0\0\x02{}\0\0"s);
}

TEST(WireBytes, WritesAnExceptionReply)
{
   EXPECT_EQ(exceptionReply("m", 1, "x"), "\0\0\0\x1D\x80\x01\0\x03\0\0\0\x01m\0\0\0\0"
                                          "\x0B\0\x01\0\0\0\x01x\x08\0\x02\0\0\0\x01\0"s);
}

TEST(WireBytes, WritesAMapOfAttributes)
{
   EXPECT_EQ(
      WireBytes().mapHeader(wire::kString, wire::kStruct, 1).boolAttribute("k", true).bytes(),
      "\x0B\x0C\0\0\0\x01\0\0\0\x01k\x08\0\x01\0\0\0\x02\x02\0\x03\x01\0"s);
}

TEST(WireBytes, NamesTheMethodOfACall)
{
   EXPECT_EQ(methodOf(WireBytes().message(wire::kCall, "reserveRoute").stop().frame()),
             "reserveRoute");
   EXPECT_EQ(methodOf(WireBytes().message(wire::kReply, "reserveRoute").stop().frame()), "");
   EXPECT_EQ(methodOf("short"), "");
   EXPECT_EQ(methodOf("\0\0\0\x09\x80\x01\0\x01\x7F\0\0\0x"s), "");
}

TEST(WireBytes, HasAPlainReplyForEachMethodAndForNoOther)
{
   EXPECT_THAT(allMethods(), SizeIs(23));
   for (const std::string& method : allMethods())
      EXPECT_NE(plainReply(method).find(method), std::string::npos) << method;
   EXPECT_THROW(plainReply("nothing"), std::invalid_argument);
}

} // namespace
} // namespace zerova::test
