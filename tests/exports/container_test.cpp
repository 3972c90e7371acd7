#include "exports/peer_session.h"
#include "service/checked_status.h"
#include "service/wire_bytes.h"
#include "support/matches_pattern.h"
#include "support/starting_line.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace zerova::test;
using testing::EndsWith;
using testing::HasSubstr;

constexpr const char* kTerminalMethod = "getTerminalNamesAndAttributesForDevice";

// Two terminals: {"flag": true, "off": false, "text": "value", "": "nameless"} and one without any.
std::string twoTerminals()
{
   WireBytes reply;
   reply.message(wire::kReply, kTerminalMethod).field(wire::kList, 0).listHeader(wire::kMap, 2);
   reply.mapHeader(wire::kString, wire::kStruct, 4);
   reply.boolAttribute("flag", true).boolAttribute("off", false);
   reply.stringAttribute("text", "value").stringAttribute("", "nameless");
   reply.mapHeader(wire::kString, wire::kStruct, 0);
   return reply.stop().frame();
}

zerovaapi_TerminalContainer readTerminals(const std::string& reply)
{
   PeerSession session(answering(reply));
   CheckedStatus status;
   const zerovaapi_TerminalContainer terminals =
      zerovaapi_getTerminalNamesAndAttributesForDevice(session, "dev", nullptr, status);
   EXPECT_EQ(status.code(), 0) << status.json();
   return terminals; // outlives its session
}

zerovaapi_DeviceContainer readDevices(const std::string& reply)
{
   PeerSession session(answering(reply));
   CheckedStatus status;
   const zerovaapi_DeviceContainer devices = zerovaapi_getRouteInfo(session, 1, status);
   EXPECT_EQ(status.code(), 0) << status.json();
   return devices;
}

class Terminals : public testing::Test
{
protected:
   ~Terminals() override { zerovaapi_TerminalContainer_destroy(terminals); }

   const char* text(const char* name, quelerr_Status* record, zerovaapi_Iterator at = 0)
   {
      return zerovaapi_TerminalIterator_getStringAttribute(terminals, at, name, record);
   }
   bool flag(const char* name, quelerr_Status* record, zerovaapi_Iterator at = 0)
   {
      return zerovaapi_TerminalIterator_getBoolAttribute(terminals, at, name, record);
   }

   zerovaapi_TerminalContainer terminals = readTerminals(twoTerminals());
   CheckedStatus status;
};

TEST_F(Terminals, AreWalkedFromZeroToTheSize)
{
   zerovaapi_Iterator i = zerovaapi_TerminalContainer_begin(terminals);
   EXPECT_EQ(i, 0u);
   EXPECT_FALSE(zerovaapi_TerminalIterator_isEnd(terminals, i));
   zerovaapi_TerminalIterator_next(&i);
   EXPECT_EQ(i, 1u);
   EXPECT_FALSE(zerovaapi_TerminalIterator_isEnd(terminals, i));
   zerovaapi_TerminalIterator_next(&i);
   EXPECT_TRUE(zerovaapi_TerminalIterator_isEnd(terminals, i));
   zerovaapi_TerminalIterator_next(&i);
   EXPECT_EQ(i, 3u);
   EXPECT_TRUE(zerovaapi_TerminalIterator_isEnd(terminals, i));
   EXPECT_TRUE(zerovaapi_TerminalIterator_isEnd(terminals, UINT64_MAX));
}

TEST_F(Terminals, AttributesAreReadByNameAndType)
{
   EXPECT_STREQ(text("text", status), "value");
   EXPECT_STREQ(text("", status), "nameless");
   EXPECT_TRUE(flag("flag", status));
   EXPECT_FALSE(flag("off", status));
   EXPECT_EQ(status.code(), 0);
   EXPECT_FALSE(status.hasText());
}

TEST_F(Terminals, TextIsBorrowedFromTheContainer)
{
   EXPECT_EQ(text("text", status), text("text", status));
}

TEST_F(Terminals, AbsentAttributeIsAnInvalidParameterNamingTheStringFunction)
{
   EXPECT_EQ(text("gone", status), nullptr);
   EXPECT_EQ(status.code(), -52005);
   const char* const pattern =
      R"(\{"error_constant":"nTamrixS100::tStatus::kInvalidParameter",)"
      R"("file":"source\\\\zerovaapi\\\\api","line":[1-9][0-9]*,"component":"zerovaapi",)"
      R"("zerovaapi_debug":"Invalid attribute name passed to zerovaapi_getStringAttribute: gone"\})";
   EXPECT_THAT(status.json(), MatchesPattern(pattern));
   CheckedStatus other;
   EXPECT_FALSE(flag("gone", other));
   EXPECT_EQ(other.code(), -52005);
   EXPECT_THAT(other.json(), MatchesPattern(pattern));
}

TEST_F(Terminals, AttributeOfTheOtherTypeIsReportedAsAnAbsentOne)
{
   EXPECT_EQ(text("flag", status), nullptr);
   EXPECT_EQ(status.code(), -52005);
   EXPECT_THAT(status.json(), EndsWith(R"(zerovaapi_getStringAttribute: flag"})"));
   CheckedStatus other;
   EXPECT_FALSE(flag("text", other));
   EXPECT_EQ(other.code(), -52005);
   EXPECT_THAT(other.json(), EndsWith(R"(zerovaapi_getStringAttribute: text"})"));
}

TEST_F(Terminals, NameIsComparedByteForByte)
{
   EXPECT_EQ(text("Text", status), nullptr);
   status.clear();
   EXPECT_EQ(text("tex", status), nullptr);
   status.clear();
   EXPECT_EQ(text("text ", status), nullptr);
   EXPECT_EQ(status.code(), -52005);
}

TEST_F(Terminals, PositionAtTheEndIsAnInvalidParameterAndTheNameIsNotLookedAt)
{
   for (const zerovaapi_Iterator at : {zerovaapi_Iterator{2}, zerovaapi_Iterator{UINT64_MAX}}) {
      CheckedStatus failed;
      EXPECT_EQ(text(nullptr, failed, at), nullptr);
      EXPECT_EQ(failed.code(), -52005);
      const char* const end = R"("component":"zerovaapi","zerovaapi_debug":)"
                              R"("Input iterator must not point to the end of the sequence"})";
      EXPECT_THAT(failed.json(), EndsWith(end));
      CheckedStatus other;
      EXPECT_FALSE(flag(nullptr, other, at));
      EXPECT_EQ(other.code(), -52005);
      EXPECT_THAT(other.json(), EndsWith(end));
   }
}

TEST_F(Terminals, TerminalWithoutAttributesHasNone)
{
   EXPECT_EQ(text("text", status, 1), nullptr);
   EXPECT_EQ(status.code(), -52005);
}

TEST_F(Terminals, PresentAttributeIsReadWhateverTheStatusHolds)
{
   CheckedStatus failed(-5, R"({"error":"first"})");
   EXPECT_STREQ(text("text", failed), "value");
   EXPECT_TRUE(flag("flag", failed));
   EXPECT_EQ(failed.code(), -5);
   EXPECT_EQ(failed.json(), R"({"error":"first"})");
}

TEST_F(Terminals, FailureAfterAnErrorWritesNothing)
{
   CheckedStatus failed(-5, R"({"error":"first"})");
   EXPECT_EQ(text("gone", failed), nullptr);
   EXPECT_FALSE(flag("gone", failed));
   EXPECT_EQ(text("text", failed, 2), nullptr);
   EXPECT_FALSE(flag("flag", failed, 2));
   EXPECT_EQ(failed.code(), -5);
   EXPECT_EQ(failed.json(), R"({"error":"first"})");
}

TEST_F(Terminals, FailureReplacesAWarning)
{
   CheckedStatus warned(5, R"({"warning":1})");
   EXPECT_STREQ(text("text", warned), "value");
   EXPECT_EQ(warned.code(), 5);
   EXPECT_EQ(text("gone", warned), nullptr);
   EXPECT_EQ(warned.code(), -52005);
   EXPECT_THAT(warned.json(), testing::Not(HasSubstr("warning")));
}

TEST_F(Terminals, EachFailureHasALineOfItsOwn)
{
   std::vector<std::string> lines;
   const auto lineOf = [](const CheckedStatus& failed) {
      const std::string json = failed.json();
      const std::size_t at = json.find(R"("line":)");
      return json.substr(at, json.find(',', at) - at);
   };
   for (const zerovaapi_Iterator at : {0u, 2u}) {
      CheckedStatus ofText;
      text("gone", ofText, at);
      CheckedStatus ofFlag;
      flag("gone", ofFlag, at);
      lines.push_back(lineOf(ofText));
      lines.push_back(lineOf(ofFlag));
   }
   std::sort(lines.begin(), lines.end());
   EXPECT_EQ(std::unique(lines.begin(), lines.end()), lines.end());
}

TEST_F(Terminals, MayBeReadByManyThreadsAtOnce)
{
   constexpr int kThreads = 4;
   StartingLine start(kThreads);
   std::vector<int> found(kThreads, 0);
   std::vector<std::thread> threads;
   for (int& count : found)
      threads.emplace_back([&] {
         quelerr_Status own;
         quelerr_heapStatus_init(&own);
         start.wait();
         for (int round = 0; round < 100; ++round) {
            const char* const value = text("text", &own);
            if (value && std::string(value) == "value" && flag("flag", &own)) ++count;
            flag("gone", &own);
            own.code = 0;
         }
         quelerr_heapStatus_release(&own);
      });
   for (std::thread& thread : threads)
      thread.join();
   EXPECT_THAT(found, testing::Each(100));
}

TEST(TerminalRequest, NullAndEmptyNameArraysSendTheSame)
{
   PeerSession session(answeringPlainly());
   CheckedStatus status;
   const char* const none[] = {nullptr};
   zerovaapi_TerminalContainer_destroy(
      zerovaapi_getTerminalNamesAndAttributesForDevice(session, "dev", nullptr, status));
   zerovaapi_TerminalContainer_destroy(
      zerovaapi_getTerminalNamesAndAttributesForDevice(session, "dev", none, status));
   const std::vector<std::string> requests = session.requests();
   ASSERT_EQ(requests.size(), 2u);
   EXPECT_EQ(requests[0], requests[1]);
   EXPECT_EQ(requests[0], WireBytes()
                             .message(wire::kCall, kTerminalMethod)
                             .textField(1, "dev")
                             .field(wire::kList, 2)
                             .listHeader(wire::kString, 0)
                             .stop()
                             .frame());
   EXPECT_EQ(status.code(), 0);
}

TEST(TerminalReply, RepeatedNameIsOneEntryOfBothValues)
{
   WireBytes reply;
   reply.message(wire::kReply, kTerminalMethod).field(wire::kList, 0).listHeader(wire::kMap, 1);
   reply.mapHeader(wire::kString, wire::kStruct, 3);
   reply.boolAttribute("n", true).stringAttribute("n", "text");
   reply.text("n").i32Field(1, wire::kAttributeBool).stop(); // the type alone: the values stay
   const zerovaapi_TerminalContainer terminals = readTerminals(reply.stop().frame());
   CheckedStatus status;
   EXPECT_TRUE(zerovaapi_TerminalIterator_getBoolAttribute(terminals, 0, "n", status));
   EXPECT_EQ(status.code(), 0);
   EXPECT_EQ(zerovaapi_TerminalIterator_getStringAttribute(terminals, 0, "n", status), nullptr);
   EXPECT_EQ(status.code(), -52005);
   zerovaapi_TerminalContainer_destroy(terminals);
}

TEST(TerminalReply, TypeAloneDecidesWhatAnAttributeIs)
{
   WireBytes reply;
   reply.message(wire::kReply, kTerminalMethod).field(wire::kList, 0).listHeader(wire::kMap, 1);
   reply.mapHeader(wire::kString, wire::kStruct, 3);
   reply.text("bare").i32Field(1, wire::kAttributeString).stop();
   reply.text("untyped").textField(2, "value").stop();
   reply.text("seven").i32Field(1, 7).textField(2, "value").boolField(3, true).stop();
   const zerovaapi_TerminalContainer terminals = readTerminals(reply.stop().frame());
   CheckedStatus status;
   EXPECT_STREQ(zerovaapi_TerminalIterator_getStringAttribute(terminals, 0, "bare", status), "");
   EXPECT_EQ(status.code(), 0);
   EXPECT_EQ(zerovaapi_TerminalIterator_getStringAttribute(terminals, 0, "untyped", status),
             nullptr);
   EXPECT_EQ(status.code(), -52005);
   status.clear();
   EXPECT_FALSE(zerovaapi_TerminalIterator_getBoolAttribute(terminals, 0, "seven", status));
   EXPECT_EQ(status.code(), -52005);
   zerovaapi_TerminalContainer_destroy(terminals);
}

TEST(TerminalReply, EmptyContainerIsAtItsEndAtOnce)
{
   WireBytes reply;
   reply.message(wire::kReply, kTerminalMethod).field(wire::kList, 0).listHeader(wire::kMap, 0);
   const zerovaapi_TerminalContainer terminals = readTerminals(reply.stop().frame());
   EXPECT_TRUE(
      zerovaapi_TerminalIterator_isEnd(terminals, zerovaapi_TerminalContainer_begin(terminals)));
   zerovaapi_TerminalContainer_destroy(terminals);
}

TEST(Devices, RouteWithoutDevicesIsAtItsEndAtOnce)
{
   WireBytes reply;
   reply.message(wire::kReply, "getRouteInfo").field(wire::kList, 0).listHeader(wire::kStruct, 0);
   const zerovaapi_DeviceContainer devices = readDevices(reply.stop().frame());
   EXPECT_EQ(zerovaapi_DeviceContainer_begin(devices), 0u);
   EXPECT_TRUE(zerovaapi_DeviceIterator_isEnd(devices, 0));
   zerovaapi_DeviceContainer_destroy(devices);
}

TEST(Devices, TerminalsOfADeviceAreBorrowed)
{
   const zerovaapi_DeviceContainer devices = readDevices(deviceListReply());
   const zerovaapi_TerminalContainer terminals =
      zerovaapi_DeviceIterator_getTerminalContainer(devices, 0);
   EXPECT_EQ(zerovaapi_DeviceIterator_getTerminalContainer(devices, 0), terminals);
   EXPECT_STREQ(zerovaapi_DeviceIterator_getDeviceName(devices, 0), "dev1");
   CheckedStatus status;
   EXPECT_STREQ(zerovaapi_TerminalIterator_getStringAttribute(terminals, 0, "Name", status),
                "/dev1/t0");
   zerovaapi_DeviceContainer_destroy(devices);
}

template <typename Body>
std::string outOfRange(Body body)
{
   try {
      body();
   } catch (const std::out_of_range& e) {
      return e.what();
   }
   return "nothing was thrown";
}

TEST(Devices, PositionAtTheEndThrowsOutOfTheFunction)
{
   const zerovaapi_DeviceContainer devices = readDevices(deviceListReply());
   for (const zerovaapi_Iterator at : {zerovaapi_Iterator{1}, zerovaapi_Iterator{UINT64_MAX}}) {
      EXPECT_EQ(outOfRange([&] { zerovaapi_DeviceIterator_getDeviceName(devices, at); }),
                "invalid vector subscript");
      EXPECT_EQ(outOfRange([&] { zerovaapi_DeviceIterator_getTerminalContainer(devices, at); }),
                "invalid vector subscript");
   }
   zerovaapi_DeviceContainer_destroy(devices);
}

// What a call gives that failed: nothing is in it, wherever one looks.

TEST(NullContainer, IsAtItsEnd)
{
   for (const zerovaapi_Iterator at : {zerovaapi_Iterator{0}, zerovaapi_Iterator{UINT64_MAX}}) {
      EXPECT_TRUE(zerovaapi_DeviceIterator_isEnd(nullptr, at));
      EXPECT_TRUE(zerovaapi_TerminalIterator_isEnd(nullptr, at));
   }
   EXPECT_EQ(zerovaapi_DeviceContainer_begin(nullptr), 0u);
   EXPECT_EQ(zerovaapi_TerminalContainer_begin(nullptr), 0u);
}

TEST(NullContainer, HasNoAttributes)
{
   CheckedStatus ofText;
   EXPECT_EQ(zerovaapi_TerminalIterator_getStringAttribute(nullptr, 0, "Name", ofText), nullptr);
   EXPECT_EQ(ofText.code(), -52005);
   CheckedStatus ofFlag;
   EXPECT_FALSE(zerovaapi_TerminalIterator_getBoolAttribute(nullptr, 0, "Name", ofFlag));
   EXPECT_EQ(ofFlag.code(), -52005);
}

TEST(NullContainer, HasNoDeviceAndThrowsOutOfTheFunction)
{
   EXPECT_EQ(outOfRange([] { zerovaapi_DeviceIterator_getDeviceName(nullptr, 0); }),
             "invalid vector subscript");
   EXPECT_EQ(outOfRange([] { zerovaapi_DeviceIterator_getTerminalContainer(nullptr, 0); }),
             "invalid vector subscript");
}

TEST(NullContainer, OfARefusalWithCodeZeroIsWalkedAsAnEmptyOne)
{
   PeerSession session(answering(statusReply("getRouteInfo", 0, "{}")));
   CheckedStatus status;
   const zerovaapi_DeviceContainer devices = zerovaapi_getRouteInfo(session, 1, status);
   EXPECT_EQ(devices, nullptr);
   EXPECT_EQ(status.code(), 0);
   EXPECT_TRUE(zerovaapi_DeviceIterator_isEnd(devices, zerovaapi_DeviceContainer_begin(devices)));
   zerovaapi_DeviceContainer_destroy(devices);
}

TEST(Devices, FieldsThatTheLibraryDoesNotKnowAreSkipped)
{
   WireBytes reply;
   reply.message(wire::kReply, "getRouteInfo").field(wire::kList, 0).listHeader(wire::kStruct, 1);
   reply.i32Field(3, 1).i32Field(1, 5).field(wire::kList, 2).listHeader(wire::kMap, 0).stop();
   const zerovaapi_DeviceContainer devices = readDevices(reply.stop().frame());
   EXPECT_STREQ(zerovaapi_DeviceIterator_getDeviceName(devices, 0), "");
   zerovaapi_DeviceContainer_destroy(devices);
}

TEST(RoutableDevices, NoDevicesGiveAnArrayOfJustTheNull)
{
   PeerSession session(answering(textListReply("getRoutableDevices", {})));
   CheckedStatus status;
   char** const devices = zerovaapi_getRoutableDevices(session, status);
   ASSERT_NE(devices, nullptr);
   EXPECT_EQ(devices[0], nullptr);
   zerovaapi_destroyStringArray(devices);
}

TEST(RoutableDevices, NamesFollowThePointersInTheOrderOfTheReply)
{
   PeerSession session(answering(textListReply("getRoutableDevices", {"b", "", "a"})));
   CheckedStatus status;
   char** const devices = zerovaapi_getRoutableDevices(session, status);
   ASSERT_NE(devices, nullptr);
   EXPECT_STREQ(devices[0], "b");
   EXPECT_STREQ(devices[1], "");
   EXPECT_STREQ(devices[2], "a");
   EXPECT_EQ(devices[3], nullptr);
   EXPECT_EQ(devices[0], reinterpret_cast<char*>(devices + 4));
   EXPECT_EQ(devices[2], devices[0] + 3);
   zerovaapi_destroyStringArray(devices);
}

TEST(Release, NullIsTakenByEveryReleaseFunction)
{
   zerovaapi_destroySession(nullptr);
   zerovaapi_RouteAttributes_destroy(nullptr);
   zerovaapi_DeviceContainer_destroy(nullptr);
   zerovaapi_TerminalContainer_destroy(nullptr);
   zerovaapi_destroyString(nullptr);
   zerovaapi_destroyStringArray(nullptr);
   SUCCEED();
}

} // namespace
