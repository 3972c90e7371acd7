// Walking devices and terminals, and reading attributes that need not be there.
#include "exports/peer_session.h"
#include "service/wire_bytes.h"
#include "zerovaapi.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace zerova::test;
using testing::ElementsAre;
using zerovaapi::Session;
using zerovaapi::Status;
using zerovaapi::Text;

constexpr const char* kTerminalMethod = "getTerminalNamesAndAttributesForDevice";

// {"Name": "a", "IsSource": true}, {"Name": "b", "IsSource": false} and one without attributes.
WireBytes& threeTerminals(WireBytes& reply)
{
   reply.listHeader(wire::kMap, 3);
   reply.mapHeader(wire::kString, wire::kStruct, 2);
   reply.stringAttribute("Name", "a").boolAttribute("IsSource", true);
   reply.mapHeader(wire::kString, wire::kStruct, 2);
   reply.stringAttribute("Name", "b").boolAttribute("IsSource", false);
   return reply.mapHeader(wire::kString, wire::kStruct, 0);
}

std::string terminalReply()
{
   WireBytes reply;
   reply.message(wire::kReply, kTerminalMethod).field(wire::kList, 0);
   return threeTerminals(reply).stop().frame();
}

std::string deviceReply()
{
   WireBytes reply;
   reply.message(wire::kReply, "getRouteInfo").field(wire::kList, 0).listHeader(wire::kStruct, 2);
   reply.textField(1, "dev1").field(wire::kList, 2);
   threeTerminals(reply).stop();
   reply.textField(1, "dev2").field(wire::kList, 2).listHeader(wire::kMap, 0).stop();
   return reply.stop().frame();
}

class CppTerminals : public testing::Test
{
protected:
   RemotePeer peer{answering(terminalReply())};
   Session session = Session::remote(peer.host());
   zerovaapi::Terminals terminals = session.terminals("dev");
};

std::vector<std::string> namesOf(const zerovaapi::TerminalRange& terminals)
{
   std::vector<std::string> names;
   for (const auto terminal : terminals)
      names.push_back(terminal.text("Name").value_or("?").str());
   return names;
}

TEST_F(CppTerminals, AreWalkedInTheOrderOfTheService)
{
   EXPECT_THAT(namesOf(terminals.range()), ElementsAre("a", "b", "?"));
}

TEST_F(CppTerminals, AreWalkedAgainByEachWalk)
{
   namesOf(terminals.range());
   EXPECT_THAT(namesOf(terminals.range()), ElementsAre("a", "b", "?"));
   EXPECT_EQ(std::distance(terminals.begin(), terminals.end()), 3);
}

TEST_F(CppTerminals, AreFoundByAnAlgorithm)
{
   const auto found = std::find_if(terminals.begin(), terminals.end(),
                                   [](auto terminal) { return terminal.text("Name") == "b"; });
   ASSERT_TRUE(found != terminals.end());
   EXPECT_EQ(found->flag("IsSource"), false);
   EXPECT_EQ(std::next(terminals.begin()), found);
   EXPECT_NE(terminals.begin(), found);
}

TEST_F(CppTerminals, OutliveTheirSession)
{
   session.close();
   EXPECT_THAT(namesOf(terminals.range()), ElementsAre("a", "b", "?"));
}

TEST_F(CppTerminals, ThatWereMovedFromAreEmptyAndTheOthersHaveThem)
{
   const zerovaapi::Terminals taken = std::move(terminals);
   EXPECT_TRUE(terminals.empty()); // NOLINT(bugprone-use-after-move)
   EXPECT_EQ(std::distance(taken.begin(), taken.end()), 3);
   terminals = session.terminals("dev");
   EXPECT_FALSE(terminals.empty());
}

TEST_F(CppTerminals, AbsentAttributeIsNothingAndNoFailure)
{
   const auto bare = *std::next(terminals.begin(), 2);
   EXPECT_EQ(bare.text("Name"), std::nullopt);
   EXPECT_EQ(bare.flag("IsSource"), std::nullopt);
   const auto first = *terminals.begin();
   EXPECT_EQ(first.flag("Name"), std::nullopt) << "of the other type";
   EXPECT_EQ(first.text("IsSource"), std::nullopt) << "of the other type";
   EXPECT_EQ(first.flag("IsSource"), true);
}

TEST_F(CppTerminals, AbsentAttributeLeavesTheStatusAlone)
{
   Status status;
   const auto bare = *std::next(terminals.begin(), 2);
   EXPECT_EQ(bare.text("Name", status), std::nullopt);
   EXPECT_EQ(bare.flag("IsSource", status), std::nullopt);
   EXPECT_FALSE(status.failed());
   EXPECT_EQ(status.record()->json, nullptr);
}

TEST_F(CppTerminals, PresentAttributeIsReadWhateverTheStatusHolds)
{
   Status status;
   status.fail(-5, "", nullptr);
   EXPECT_EQ(terminals.begin()->text("Name", status), "a");
   EXPECT_EQ(terminals.begin()->flag("IsSource", status), true);
   EXPECT_EQ(status.code(), -5);
}

TEST_F(CppTerminals, TerminalAtTheEndHasNoAttributes)
{
   EXPECT_EQ((*terminals.end()).text("Name"), std::nullopt);
   EXPECT_EQ(zerovaapi::Terminal().flag("IsSource"), std::nullopt);
}

TEST_F(CppTerminals, NameThatIsNoTextIsAFailure)
{
   const char* const none = nullptr;
   const auto first = *terminals.begin();
   EXPECT_THROW(first.text(none), zerovaapi::Error);
   EXPECT_THROW(first.flag(std::string("Is\0Source", 9)), zerovaapi::Error);
}

TEST_F(CppTerminals, AreAskedForWithTheAttributesThatAreNamed)
{
   const char* const list[] = {"Name", "Kind", nullptr};
   session.terminals("dev", {"Name", "Kind"});
   session.terminals("dev", list);
   session.terminals("dev", nullptr);
   const std::vector<std::string> frames = peer.service().frames();
   ASSERT_EQ(frames.size(), 5u);
   EXPECT_EQ(frames[2], WireBytes()
                           .message(wire::kCall, kTerminalMethod)
                           .textField(1, "dev")
                           .field(wire::kList, 2)
                           .listHeader(wire::kString, 2)
                           .text("Name")
                           .text("Kind")
                           .stop()
                           .frame());
   EXPECT_EQ(frames[3], frames[2]);
   EXPECT_EQ(frames[4], frames[1]);
}

TEST_F(CppTerminals, AreAskedForWithTheAttributesOfAContainer)
{
   const std::vector<std::string> names = {"Name", "Kind"};
   session.terminals("dev", {"Name", "Kind"});
   session.terminals("dev", names);
   session.terminals("dev", std::vector<const char*>{"Name", "Kind"});
   session.terminals("dev", std::vector<std::string>());
   const char* const none[] = {nullptr};
   session.terminals("dev", none);
   const std::vector<std::string> frames = peer.service().frames();
   ASSERT_EQ(frames.size(), 7u);
   EXPECT_EQ(frames[3], frames[2]);
   EXPECT_EQ(frames[4], frames[2]);
   EXPECT_EQ(frames[5], frames[6]);
}

TEST_F(CppTerminals, ContainerWithATextThatIsNoneIsAFailureAndSendsNothing)
{
   Status status;
   EXPECT_TRUE(session.terminals("dev", std::vector<const char*>{"Name", nullptr}, status).empty());
   EXPECT_EQ(status.code(), zerovaapi::kInvalidParameter);
   EXPECT_THROW(session.terminals("dev", std::vector<std::string>{std::string("a\0b", 3)}),
                zerovaapi::Error);
   EXPECT_EQ(peer.service().frames().size(), 2u);
}

TEST(CppDevices, AreWalkedWithTheirTerminals)
{
   RemotePeer peer(answering(deviceReply()));
   Session session = Session::remote(peer.host());
   zerovaapi::Route route = session.route(1);
   zerovaapi::Devices devices = route.devices();
   route.release();
   session.close();
   std::vector<std::string> names;
   for (const auto device : devices)
      names.push_back(device.name().str());
   EXPECT_THAT(names, ElementsAre("dev1", "dev2"));
   EXPECT_THAT(namesOf(devices.begin()->terminals()), ElementsAre("a", "b", "?"));
   EXPECT_TRUE(std::next(devices.begin())->terminals().empty());
   const zerovaapi::Devices taken = std::move(devices);
   EXPECT_TRUE(devices.empty()); // NOLINT(bugprone-use-after-move)
   EXPECT_FALSE(taken.empty());
}

TEST(CppDevices, DeviceAtTheEndHasNoNameAndNoTerminals)
{
   const zerovaapi::Devices none;
   EXPECT_EQ((*none.end()).name(), "");
   EXPECT_TRUE((*none.begin()).terminals().empty());
   EXPECT_EQ(zerovaapi::Device().name(), "");
}

TEST(CppDeviceNames, AreWalkedAndPrinted)
{
   RemotePeer peer(answering(textListReply("getRoutableDevices", {"one", "", "three"})));
   Session session = Session::remote(peer.host());
   zerovaapi::DeviceNames names = session.devices();
   EXPECT_THAT(std::vector<std::string_view>(names.begin(), names.end()),
               ElementsAre("one", "", "three"));
   EXPECT_EQ(std::distance(names.begin(), names.end()), 3);
   auto at = names.begin();
   EXPECT_EQ(*at++, "one");
   EXPECT_EQ((*at).c_str(), std::string());
   const zerovaapi::DeviceNames taken = std::move(names);
   EXPECT_TRUE(names.empty()); // NOLINT(bugprone-use-after-move)
   EXPECT_FALSE(taken.empty());
}

TEST(CppDeviceNames, ArrowOfAnIteratorReachesTheName)
{
   RemotePeer peer(answering(textListReply("getRoutableDevices", {"one", "two"})));
   Session session = Session::remote(peer.host());
   const zerovaapi::DeviceNames names = session.devices();
   EXPECT_EQ(names.begin()->str(), "one");
   EXPECT_EQ(std::next(names.begin())->str(), "two");
}

TEST(CppDeviceNames, OfAServiceWithoutDevicesAreNone)
{
   RemotePeer peer(answering(textListReply("getRoutableDevices", {})));
   Session session = Session::remote(peer.host());
   const zerovaapi::DeviceNames names = session.devices();
   EXPECT_TRUE(names.empty());
}

} // namespace
