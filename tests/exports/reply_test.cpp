// Replies that concern one function, and limits of what is read.
#include "exports/peer_session.h"
#include "service/checked_status.h"
#include "service/wire_bytes.h"
#include "support/heap_watch.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using namespace zerova::test;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Lt;

constexpr std::size_t kLargestFrame = 16384000;
constexpr std::size_t kSmall = 1 << 20;

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

// A call on a reply that lies, and the memory that it took.
struct LiedTo
{
   int32_t code;
   std::string json;
   std::size_t peak;
};

template <typename Call>
LiedTo lieTo(const WireBytes& reply, Call call)
{
   PeerSession session(sendingOnce(reply.frame()));
   quelerr_Status status;
   quelerr_heapStatus_init(&status);
   std::size_t peak = 0;
   {
      const HeapWatch watch;
      call(session, &status);
      peak = watch.peak();
   }
   LiedTo told{status.code, status.json ? status.json : "", peak};
   quelerr_heapStatus_release(&status);
   return told;
}

WireBytes listOf(const std::string& method, uint8_t elementType, int32_t count)
{
   return WireBytes()
      .message(wire::kReply, method)
      .field(wire::kList, 0)
      .listHeader(elementType, count);
}

void getRouteInfo(zerovaapi_Session session, quelerr_Status* status)
{
   EXPECT_EQ(zerovaapi_getRouteInfo(session, 1, status), nullptr);
}

void getTerminals(zerovaapi_Session session, quelerr_Status* status)
{
   EXPECT_EQ(zerovaapi_getTerminalNamesAndAttributesForDevice(session, "d", nullptr, status),
             nullptr);
}

void getDevices(zerovaapi_Session session, quelerr_Status* status)
{
   EXPECT_EQ(zerovaapi_getRoutableDevices(session, status), nullptr);
}

TEST(LyingReply, HugeListOfStructsIsOutOfMemoryBeforeAnythingIsReserved)
{
   for (const int32_t count : {1048577, 50000000, INT32_MAX}) {
      const LiedTo told = lieTo(listOf("getRouteInfo", wire::kStruct, count), getRouteInfo);
      EXPECT_EQ(told.code, -52000) << count;
      EXPECT_EQ(told.json.find("error_constant"), std::string::npos);
      EXPECT_THAT(told.peak, Lt(kSmall));
   }
}

TEST(LyingReply, HugeListOfMapsIsRefusedBeforeAnythingIsReserved)
{
   const std::string method = "getTerminalNamesAndAttributesForDevice";
   for (const int32_t count : {1048577, 50000000, INT32_MAX}) {
      const LiedTo told = lieTo(listOf(method, wire::kMap, count), getTerminals);
      EXPECT_LT(told.code, 0) << count;
      EXPECT_THAT(told.peak, Lt(kSmall));
   }
}

TEST(LyingReply, HugeListOfTextsIsRefusedBeforeAnythingIsReserved)
{
   for (const int32_t count : {1048577, 50000000, INT32_MAX}) {
      const LiedTo told = lieTo(listOf("getRoutableDevices", wire::kString, count), getDevices);
      EXPECT_LT(told.code, 0) << count;
      EXPECT_THAT(told.peak, Lt(kSmall));
   }
}

TEST(LyingReply, HugeMapIsRefusedBeforeAnythingIsReserved)
{
   const std::string method = "getTerminalNamesAndAttributesForDevice";
   WireBytes reply = listOf(method, wire::kMap, 1);
   reply.mapHeader(wire::kString, wire::kStruct, INT32_MAX);
   const LiedTo told = lieTo(reply, getTerminals);
   EXPECT_LT(told.code, 0);
   EXPECT_THAT(told.peak, Lt(kSmall));
}

// The service keeps the connection open: nothing may wait for elements that were never there.
TEST(LyingReply, HugeCountInAFieldThatIsSkippedIsTheEndOfTheDataAtOnce)
{
   constexpr uint8_t kSet = 14;
   const auto begun = [](uint8_t type) {
      return WireBytes().message(wire::kReply, "isDebug").field(type, 99);
   };
   for (const WireBytes& reply : {begun(wire::kList).listHeader(wire::kStruct, INT32_MAX),
                                  begun(kSet).listHeader(wire::kBool, 1048577),
                                  begun(wire::kMap).mapHeader(wire::kBool, wire::kStruct, 1048577)})
   {
      PeerSession session(Script().acceptVersion().receive().send(reply.frame()).hold());
      CheckedStatus status;
      EXPECT_TRUE(zerovaapi_isDebug(session, status));
      EXPECT_EQ(status.code(), -52024);
      EXPECT_THAT(status.json(), HasSubstr(R"(:"No more data to read."})"));
   }
}

TEST(LyingReply, SmallLieRunsIntoTheEndOfTheData)
{
   const LiedTo told =
      lieTo(listOf("getRoutableDevices", wire::kString, 5).text("one"), getDevices);
   EXPECT_EQ(told.code, -52024);
   EXPECT_THAT(told.peak, Lt(kSmall));
}

TEST(LyingReply, NegativeCountsAreRefused)
{
   for (const int32_t count : {-1, INT32_MIN}) {
      const LiedTo list = lieTo(listOf("getRouteInfo", wire::kStruct, count), getRouteInfo);
      EXPECT_EQ(list.code, -52024);
      EXPECT_THAT(list.json, HasSubstr("TProtocolException: Negative size"));
   }
}

TEST(LyingReply, HugeTextIsRefusedBeforeItIsReserved)
{
   for (const int32_t length : {1 << 25, 90000000, 104857600, INT32_MAX}) {
      const LiedTo told =
         lieTo(listOf("getRoutableDevices", wire::kString, 1).i32(length).raw("short"), getDevices);
      EXPECT_EQ(told.code, -52024) << length;
      EXPECT_THAT(told.json, HasSubstr(length >= 104857600 ? R"("MaxMessageSize reached"})"
                                                           : R"("No more data to read."})"));
      EXPECT_THAT(told.peak, Lt(kSmall)) << length;
   }
}

TEST(LyingReply, HugeNameWithoutAVersionWordIsRefusedBeforeItIsReserved)
{
   const LiedTo told = lieTo(WireBytes().raw("garbage garbage"), getDevices);
   EXPECT_EQ(told.code, -52024);
   EXPECT_THAT(told.peak, Lt(kSmall));
}

TEST(Reply, TextMayGoOnInTheFramesThatFollow)
{
   const std::string name(3000000, 'd');
   WireBytes first = listOf("getRoutableDevices", wire::kString, 2);
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
