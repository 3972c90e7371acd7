// Replies that concern one function, and limits of what is read.
#include "exports/peer_session.h"
#include "service/checked_status.h"
#include "service/wire_bytes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using namespace zerova::test;
using testing::ElementsAre;
using testing::HasSubstr;

constexpr std::size_t kLargestFrame = 16384000;

TEST(Request, IsDebugIsTheseBytes)
{
   PeerSession session(answeringPlainly());
   CheckedStatus status;
   zerovaapi_isDebug(session, status);
   EXPECT_THAT(session.requests(),
               ElementsAre(std::string("\0\0\0\x14\x80\x01\0\x01\0\0\0\x07isDebug\0\0\0\0\0", 24)));
}

TEST(Request, CalculateRouteIsTheseBytes)
{
   PeerSession session(answeringPlainly());
   CheckedStatus status;
   zerovaapi_calculateRoute(session, "a", "", nullptr, status);
   EXPECT_THAT(session.requests(), ElementsAre(std::string("\0\0\0\x2E\x80\x01\0\x01\0\0\0\x0E"
                                                           "calculateRoute\0\0\0\0"
                                                           "\x0B\0\x01\0\0\0\x01"
                                                           "a\x0B\0\x02\0\0\0\0\x0C\0\x03\0\0",
                                                           50)));
}

TEST(Request, EmptyTextsGoAsEmptyStrings)
{
   PeerSession session(answeringPlainly());
   CheckedStatus status;
   zerovaapi_destroyImmediateRoute(session, "", "", status);
   zerovaapi_destroyImmediateRoutesOnDevice(session, "", status);
   const std::string onDevice = "destroyImmediateRoutesOnDevice";
   EXPECT_THAT(
      session.requests(),
      ElementsAre(WireBytes()
                     .message(wire::kCall, "destroyImmediateRoute")
                     .textField(1, "")
                     .textField(2, "")
                     .stop()
                     .frame(),
                  WireBytes().message(wire::kCall, onDevice).textField(1, "").stop().frame()));
}

TEST(Request, TextGoesByteForByte)
{
   PeerSession session(answeringPlainly());
   CheckedStatus status;
   const std::string odd = "\x01\xFF\xC3\xA4 \"\\/%s";
   zerovaapi_validateTerminalURI(session, odd.c_str(), status);
   EXPECT_THAT(
      session.requests(),
      ElementsAre(
         WireBytes().message(wire::kCall, "validateTerminalURI").textField(1, odd).stop().frame()));
}

TEST(Request, MessageLargerThanTheFrameLimitIsSentAllTheSame)
{
   PeerSession session(answeringPlainly());
   CheckedStatus status;
   const std::string huge(kLargestFrame + 1, 'u');
   EXPECT_TRUE(zerovaapi_validateTerminalURI(session, huge.c_str(), status));
   EXPECT_EQ(status.code(), 0);
   EXPECT_GT(session.requests().at(0).size(), kLargestFrame);
}

TEST(Reply, TicketIsHandedOnWhateverItIs)
{
   for (const int32_t ticket : {0, -1, 1, INT32_MIN, INT32_MAX}) {
      PeerSession session(answering(i32Reply("calculateRoute", ticket)));
      CheckedStatus status;
      EXPECT_EQ(zerovaapi_calculateRoute(session, "a", "b", nullptr, status), ticket);
      EXPECT_EQ(status.code(), 0);
   }
}

TEST(Reply, BooleanIsTrueExactlyWhenItsByteIsNotZero)
{
   for (const uint8_t byte : std::vector<uint8_t>{0, 1, 2, 255}) {
      WireBytes reply;
      reply.message(wire::kReply, "isDebug").field(wire::kBool, 0).byte(byte).stop();
      PeerSession session(answering(reply.frame()));
      CheckedStatus status;
      EXPECT_EQ(zerovaapi_isDebug(session, status), byte != 0);
      EXPECT_EQ(status.code(), 0);
   }
}

TEST(Reply, StatusInTheAnswerToIsDebugIsSkipped)
{
   WireBytes reply;
   reply.message(wire::kReply, "isDebug");
   reply.field(wire::kStruct, 1).i32Field(1, -5).textField(2, "{}").stop();
   reply.boolField(0, false).stop();
   PeerSession session(answering(reply.frame()));
   CheckedStatus status;
   EXPECT_FALSE(zerovaapi_isDebug(session, status));
   EXPECT_EQ(status.code(), 0);
}

TEST(Reply, StatusAloneInTheAnswerToIsDebugIsAMissingResult)
{
   PeerSession session(answering(statusReply("isDebug", -5, "{}")));
   CheckedStatus status;
   EXPECT_TRUE(zerovaapi_isDebug(session, status));
   EXPECT_EQ(status.code(), -52024);
   EXPECT_THAT(status.json(), HasSubstr(R"("isDebug failed: unknown result")"));
}

TEST(Reply, StatusWithACodeOfAnotherTypeHasCodeZero)
{
   WireBytes reply;
   reply.message(wire::kReply, "reserveRoute");
   reply.field(wire::kStruct, 1).textField(1, "-5").textField(2, "{}").stop().stop();
   PeerSession session(answering(reply.frame()));
   CheckedStatus status;
   zerovaapi_reserveRoute(session, 1, status);
   EXPECT_EQ(status.code(), 0);
}

TEST(Reply, DescriptionLongerThanAnyBufferArrivesWhole)
{
   const std::string text = R"({"long":")" + std::string(100000, 'J') + R"("})";
   PeerSession session(answering(statusReply("reserveRoute", -5, text)));
   CheckedStatus status;
   zerovaapi_reserveRoute(session, 1, status);
   EXPECT_EQ(status.json(), text);
}

// What quelerr_status.h tells a host not to rely on.
TEST(Reply, DescriptionIsWhateverTheServiceGaveUpToItsFirstNul)
{
   const std::vector<std::pair<std::string, std::string>> texts = {
      {"", ""},
      {"no JSON", "no JSON"},
      {R"({"open":)", R"({"open":)"},
      {"[1]", "[1]"},
      {"\xFF\xC3 \x01\n", "\xFF\xC3 \x01\n"},
      {std::string("{}\0behind", 9), "{}"}};
   for (const auto& [given, kept] : texts) {
      SCOPED_TRACE(testing::PrintToString(given));
      PeerSession session(answering(statusReply("reserveRoute", -52024, given)));
      CheckedStatus status;
      status.allowAnyText();
      zerovaapi_reserveRoute(session, 1, status);
      EXPECT_EQ(status.code(), -52024);
      EXPECT_EQ(status.json(), kept);
   }
}

TEST(Reply, MessageThatIsNoUtf8StaysAsItWasGivenInADocumentOfTheLibrary)
{
   PeerSession session(answering(exceptionReply("reserveRoute", 6, "\xFF\xC3 \"\x01\"")));
   CheckedStatus status;
   zerovaapi_reserveRoute(session, 1, status);
   EXPECT_EQ(status.code(), -52024);
   EXPECT_THAT(status.json(), HasSubstr("\"component\":\"zerovaapi\""));
   EXPECT_THAT(status.json(), HasSubstr(":\"\xFF\xC3 \\\"\\u0001\\\"\"}"));
}

TEST(Reply, ExceptionsHaveTheTextOfTheirTypeUnlessTheyBringOne)
{
   const std::vector<std::pair<int32_t, std::string>> texts = {{0, "Unknown application exception"},
                                                               {1, "Unknown method"},
                                                               {2, "Invalid message type"},
                                                               {3, "Wrong method name"},
                                                               {4, "Bad sequence identifier"},
                                                               {5, "Missing result"},
                                                               {6, "Internal error"},
                                                               {7, "Protocol error"},
                                                               {8, "Invalid transform"},
                                                               {9, "Invalid protocol"},
                                                               {10, "Unsupported client type"},
                                                               {42, "(Invalid exception type)"},
                                                               {-1, "(Invalid exception type)"}};
   for (const auto& [type, text] : texts) {
      PeerSession session(answering(exceptionReply("reserveRoute", type, "")));
      CheckedStatus status;
      zerovaapi_reserveRoute(session, 1, status);
      EXPECT_EQ(status.code(), -52024);
      EXPECT_THAT(
         status.json(),
         HasSubstr(R"("Thrift::TApplicationException":"TApplicationException: )" + text + R"("})"));
   }
   PeerSession session(answering(exceptionReply("reserveRoute", 42, "in its own words")));
   CheckedStatus status;
   zerovaapi_reserveRoute(session, 1, status);
   EXPECT_THAT(status.json(), HasSubstr(R"("Thrift::TApplicationException":"in its own words"})"));
}

TEST(Reply, ExceptionWithoutFieldsHasTheTextOfTypeZero)
{
   PeerSession session(answering(WireBytes().message(wire::kException, "x").stop().frame()));
   CheckedStatus status;
   zerovaapi_reserveRoute(session, 1, status);
   EXPECT_THAT(status.json(), HasSubstr("TApplicationException: Unknown application exception"));
}

TEST(Reply, FailuresOfTheFrameHaveTheirTexts)
{
   const std::vector<std::pair<std::string, std::string>> cases = {
      {WireBytes().frameAnnouncing(-1), "Frame size has negative value"},
      {WireBytes().frameAnnouncing(16384001), "Received an oversized frame"},
      {WireBytes().i32(static_cast<int32_t>(0x80020002u)).frame(), "Bad version identifier"},
      {WireBytes().message(wire::kReply, "isDebug").field(wire::kString, 9).i32(-1).frame(),
       "TProtocolException: Negative size"},
      {WireBytes().message(wire::kReply, "isDebug").byte(99).i16(1).frame(), "invalid TType"}};
   for (const auto& [bytes, text] : cases) {
      PeerSession session(sendingOnce(bytes));
      CheckedStatus status;
      zerovaapi_isDebug(session, status);
      EXPECT_EQ(status.code(), -52024);
      EXPECT_THAT(status.json(), HasSubstr(":\"" + text + "\"}"));
   }
}

// A reply to getRoutableDevices whose frame, without its length, has so many bytes.
std::string deviceReplyOfSize(std::size_t size)
{
   const std::string method = "getRoutableDevices";
   const std::size_t around = textListReply(method, {""}).size() - 4;
   return textListReply(method, {std::string(size - around, 'd')});
}

TEST(Reply, FrameOfTheLargestSizeIsRead)
{
   PeerSession session(answering(deviceReplyOfSize(kLargestFrame)));
   for (int i = 0; i < 8; ++i) { // more than the largest message in all: the limit is per message
      CheckedStatus status;
      char** const devices = zerovaapi_getRoutableDevices(session, status);
      ASSERT_EQ(status.code(), 0) << status.json();
      EXPECT_GT(std::string(devices[0]).size(), kLargestFrame - 100);
      zerovaapi_destroyStringArray(devices);
   }
}

TEST(Reply, FrameOneByteAboveTheLargestSizeIsRefused)
{
   PeerSession session(sendingOnce(deviceReplyOfSize(kLargestFrame + 1)));
   CheckedStatus status;
   EXPECT_EQ(zerovaapi_getRoutableDevices(session, status), nullptr);
   EXPECT_EQ(status.code(), -52024);
   EXPECT_THAT(status.json(), HasSubstr(R"("Received an oversized frame")"));
}

TEST(Reply, TextMayGoOnInTheFramesThatFollow)
{
   const std::string name(3000000, 'd');
   WireBytes first;
   first.message(wire::kReply, "getRoutableDevices")
      .field(wire::kList, 0)
      .listHeader(wire::kString, 2);
   first.i32(static_cast<int32_t>(name.size())).raw(name.substr(0, 1000));
   const std::string frames = first.frame() + WireBytes().raw(name.substr(1000, 2000000)).frame() +
                              WireBytes().raw(name.substr(2001000)).text("e").stop().frame();
   PeerSession session(answering(frames));
   for (int i = 0; i < 2; ++i) {
      CheckedStatus status;
      char** const devices = zerovaapi_getRoutableDevices(session, status);
      ASSERT_NE(devices, nullptr) << status.json();
      EXPECT_EQ(devices[0], name);
      EXPECT_STREQ(devices[1], "e");
      zerovaapi_destroyStringArray(devices);
   }
}

} // namespace
