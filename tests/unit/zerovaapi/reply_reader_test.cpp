// What is read from the bytes of a frame, and what is left to the generic reader.
#include "source/zerovaapi/reply_reader.h"

#include "service/wire_bytes.h"
#include "support/heap_watch.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string>

namespace {

using namespace zerova;
using namespace zerova::test;

constexpr const char* kTerminals = "getTerminalNamesAndAttributesForDevice";

std::span<const uint8_t> bytesOf(const std::string& message)
{
   return {reinterpret_cast<const uint8_t*>(message.data()), message.size()};
}

bool isRead(const WireBytes& message)
{
   return readTerminalReply(bytesOf(message.bytes())).has_value();
}

// The reply with one terminal, whose attributes are written by the caller.
WireBytes terminalReply(int attributes, const std::function<void(WireBytes&)>& write)
{
   WireBytes out;
   out.message(wire::kReply, kTerminals).field(wire::kList, 0).listHeader(wire::kMap, 1);
   out.mapHeader(wire::kString, wire::kStruct, attributes);
   write(out);
   return out.stop();
}

// One attribute of the name "a", whose fields are written by the caller.
WireBytes attributeReply(const std::function<void(WireBytes&)>& write)
{
   return terminalReply(1, [&](WireBytes& out) {
      write(out.text("a"));
      out.stop();
   });
}

TerminalAttribute attributeRead(const WireBytes& message, ReplyContent& content)
{
   content = readTerminalReply(bytesOf(message.bytes())).value();
   return *Terminals(content, 0, 1).find(0, "a");
}

TEST(ReplyReader, AttributesAreFoundByNameInWhateverOrderTheyCame)
{
   const WireBytes message = terminalReply(3, [](WireBytes& out) {
      out.stringAttribute("Name", "/dev1/t0")
         .boolAttribute("IsSource", true)
         .stringAttribute("Kind", "clock");
   });
   const ReplyContent content = readTerminalReply(bytesOf(message.bytes())).value();
   const Terminals terminals(content, 0, 1);
   EXPECT_STREQ(terminals.find(0, "Name")->text, "/dev1/t0");
   EXPECT_STREQ(terminals.find(0, "Kind")->text, "clock");
   EXPECT_TRUE(terminals.find(0, "IsSource")->flag);
   EXPECT_EQ(terminals.find(0, "Nam"), nullptr);
   EXPECT_EQ(terminals.find(0, "Names"), nullptr);
   EXPECT_EQ(terminals.attributeCount(0), 3u);
}

TEST(ReplyReader, TerminalsKeepTheirOrderAndTheirOwnAttributes)
{
   WireBytes out;
   out.message(wire::kReply, kTerminals).field(wire::kList, 0).listHeader(wire::kMap, 3);
   out.mapHeader(wire::kString, wire::kStruct, 1).stringAttribute("a", "0");
   out.mapHeader(wire::kString, wire::kStruct, 0);
   out.mapHeader(wire::kString, wire::kStruct, 1).stringAttribute("a", "2").stop();
   const ReplyContent content = readTerminalReply(bytesOf(out.bytes())).value();
   const Terminals terminals(content, 0, 3);
   EXPECT_STREQ(terminals.find(0, "a")->text, "0");
   EXPECT_EQ(terminals.find(1, "a"), nullptr);
   EXPECT_STREQ(terminals.find(2, "a")->text, "2");
}

TEST(ReplyReader, WhatAnAttributeLacksIsEmpty)
{
   ReplyContent content;
   const TerminalAttribute attribute = attributeRead(attributeReply([](WireBytes&) {}), content);
   EXPECT_EQ(attribute.type, AttrType::UNKNOWN);
   EXPECT_STREQ(attribute.text, "");
   EXPECT_FALSE(attribute.flag);
}

TEST(ReplyReader, FieldsComeInAnyOrderAndTheLastOfAKindCounts)
{
   ReplyContent content;
   const TerminalAttribute attribute =
      attributeRead(attributeReply([](WireBytes& out) {
                       out.boolField(3, true).textField(2, "x").i32Field(1, 7).textField(2, "yz");
                    }),
                    content);
   EXPECT_EQ(static_cast<int>(attribute.type), 7);
   EXPECT_STREQ(attribute.text, "yz");
   EXPECT_TRUE(attribute.flag);
}

TEST(ReplyReader, DevicesHaveTheirNamesAndTerminals)
{
   const std::string frame = deviceListReply();
   const auto reply = readDeviceReply(bytesOf(frame).subspan(4));
   ASSERT_TRUE(reply);
   ASSERT_EQ(reply->devices.size(), 1u);
   EXPECT_STREQ(reply->devices[0].name, "dev1");
   EXPECT_STREQ(reply->devices[0].terminals.find(0, "Name")->text, "/dev1/t0");
}

TEST(ReplyReader, ReplyThatIsCutAnywhereIsLeft)
{
   const std::string terminals = terminalListReply();
   for (size_t size = 0; size < terminals.size() - 4; ++size)
      EXPECT_FALSE(readTerminalReply(bytesOf(terminals).subspan(4, size))) << size;
   EXPECT_TRUE(readTerminalReply(bytesOf(terminals).subspan(4)));
   const std::string devices = deviceListReply();
   for (size_t size = 0; size < devices.size() - 4; ++size)
      EXPECT_FALSE(readDeviceReply(bytesOf(devices).subspan(4, size))) << size;
}

TEST(ReplyReader, WhatFollowsTheReplyInItsFrameIsLeft)
{
   EXPECT_FALSE(isRead(attributeReply([](WireBytes&) {}).byte(0)));
}

TEST(ReplyReader, OtherMessagesAreLeft)
{
   const auto header = [](uint8_t type, const char* name) {
      return WireBytes().message(type, name).field(wire::kList, 0).listHeader(wire::kMap, 0).stop();
   };
   EXPECT_TRUE(isRead(header(wire::kReply, kTerminals)));
   EXPECT_FALSE(isRead(header(wire::kException, kTerminals)));
   EXPECT_FALSE(isRead(header(wire::kCall, kTerminals)));
   EXPECT_FALSE(isRead(header(wire::kReply, "getRouteInfo")));
   EXPECT_FALSE(isRead(WireBytes()
                          .messageWithoutVersion(wire::kReply, kTerminals)
                          .field(wire::kList, 0)
                          .listHeader(wire::kMap, 0)
                          .stop()));
}

TEST(ReplyReader, RefusalOfTheServiceIsLeft)
{
   const std::string frame = statusReply(kTerminals, -5, "{}");
   EXPECT_FALSE(readTerminalReply(bytesOf(frame).subspan(4)));
}

TEST(ReplyReader, NameThatIsThereTwiceIsLeftToBeMerged)
{
   EXPECT_FALSE(isRead(terminalReply(
      2, [](WireBytes& out) { out.stringAttribute("a", "x").boolAttribute("a", true); })));
   EXPECT_FALSE(isRead(terminalReply(3, [](WireBytes& out) {
      out.stringAttribute("b", "x").stringAttribute("a", "y").stringAttribute("b", "z");
   })));
}

TEST(ReplyReader, FieldsThatAreNotOfThisInterfaceAreLeftToBeSkipped)
{
   EXPECT_FALSE(isRead(attributeReply([](WireBytes& out) { out.i32Field(4, 1); })));
   EXPECT_FALSE(isRead(attributeReply([](WireBytes& out) { out.textField(1, "x"); })));
   EXPECT_FALSE(isRead(attributeReply([](WireBytes& out) { out.i32Field(2, 1); })));
   EXPECT_FALSE(isRead(attributeReply([](WireBytes& out) { out.i32Field(3, 1); })));
   EXPECT_FALSE(isRead(WireBytes()
                          .message(wire::kReply, kTerminals)
                          .i32Field(5, 1)
                          .field(wire::kList, 0)
                          .listHeader(wire::kMap, 0)
                          .stop()));
}

TEST(ReplyReader, CountsAndElementsThatAnnounceSomethingElseAreLeft)
{
   const auto list = [](uint8_t type, int32_t count) {
      return WireBytes()
         .message(wire::kReply, kTerminals)
         .field(wire::kList, 0)
         .listHeader(type, count)
         .stop();
   };
   EXPECT_FALSE(isRead(list(wire::kMap, 1)));
   EXPECT_FALSE(isRead(list(wire::kMap, -1)));
   EXPECT_FALSE(isRead(list(wire::kMap, INT32_MAX)));
   EXPECT_FALSE(isRead(list(wire::kStruct, 0)));
}

// The reply announces count terminals, of which it has those that are written, alike in their names.
WireBytes alikeTerminals(int32_t count, int written)
{
   WireBytes out;
   out.message(wire::kReply, kTerminals).field(wire::kList, 0).listHeader(wire::kMap, count);
   for (int i = 0; i < written; ++i)
      out.mapHeader(wire::kString, wire::kStruct, 2)
         .stringAttribute("Description", i == 0 ? "the first has the longest text of all" : "")
         .boolAttribute("IsSource", true);
   return out;
}

TEST(ReplyReader, CountThatLiesReservesNoMoreThanTheRestOfTheFrameCouldHoldOfSuchTerminals)
{
   constexpr size_t kRest = 1 << 20;
   const WireBytes message = alikeTerminals(kRest, 1).raw(std::string(kRest, '\0'));
   const std::string frame = message.bytes();
   bool isRead = true;
   size_t peak = 0;
   {
      const HeapWatch watch;
      isRead = readTerminalReply(bytesOf(frame)).has_value();
      peak = watch.peak();
   }
   EXPECT_FALSE(isRead);
   // Its copy, and of each terminal the 35 bytes without which it cannot be.
   EXPECT_LT(peak, frame.size() * 13 / 4);
}

size_t requestsForTerminals(int count)
{
   const std::string frame = alikeTerminals(count, count).stop().bytes();
   const HeapWatch watch;
   return readTerminalReply(bytesOf(frame)) ? watch.count() : 0;
}

TEST(ReplyReader, MemoryForTerminalsThatAreAlikeIsAskedForOnce)
{
   EXPECT_GT(requestsForTerminals(2), 0u);
   EXPECT_EQ(requestsForTerminals(1000), requestsForTerminals(2));
}

} // namespace
