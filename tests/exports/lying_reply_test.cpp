// Replies that announce more than they hold, and what memory that costs.
#include "exports/peer_session.h"
#include "service/checked_status.h"
#include "service/wire_bytes.h"
#include "support/heap_watch.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>

namespace {

using namespace zerova::test;
using testing::HasSubstr;
using testing::Lt;

constexpr std::size_t kSmall = 1 << 20;

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

} // namespace
