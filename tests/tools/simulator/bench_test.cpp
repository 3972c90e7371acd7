#include "tools/simulator/bench.h"

#include "tools/simulator/topology_file.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <functional>
#include <string>
#include <vector>

namespace {

using namespace zerova;
using namespace zerova::simulator;
using testing::ElementsAre;

Topology example(const std::string& name)
{
   ReadTopology read = readTopologyFile(ZEROVA_BENCHES_DIR "/" + name + ".toml");
   for (const Mistake& mistake : read.mistakes)
      ADD_FAILURE() << mistake.shown();
   return read.topology;
}

struct Refused
{
   std::int32_t code = 0;
   nlohmann::json document;

   std::vector<std::string> texts() const
   {
      std::vector<std::string> found;
      for (const auto& row : document["translator_info"]["ordered_data"])
         if (row.contains("value"))
            found.push_back(row["value"].is_string() ? row["value"].get<std::string>()
                                                     : row["value"].dump());
      return found;
   }
};

Refused refusalOf(const std::function<void()>& action)
{
   try {
      action();
   } catch (const ThriftStatus& status) {
      return {status.code, nlohmann::json::parse(status.description)};
   }
   return {};
}

class TriggerBench : public testing::Test
{
protected:
   Ticket calculate(const std::string& from, const std::string& to, RouteAttributes wishes = {})
   {
      return bench.calculateRoute(1, RouteLifetime::SESSION, from, to, wishes);
   }
   Ticket reserve(const std::string& from, const std::string& to, RouteAttributes wishes = {})
   {
      wishes.__set_routeState(RouteState::RESERVED);
      return calculate(from, to, wishes);
   }
   // "device: terminal terminal | device: ..."
   std::string wayOf(Ticket ticket) const
   {
      std::string text;
      for (const DeviceInfo& device : bench.routeInfo(ticket)) {
         text += (text.empty() ? "" : " | ") + device.deviceName + ":";
         for (const Attributes& terminal : device.terminals)
            text += " " + terminal.at("Name").str_attr;
      }
      return text;
   }

   Bench bench{example("trigger_bench")};
};

TEST_F(TriggerBench, RuleLeadsTheRouteOverItsLine)
{
   EXPECT_EQ(wayOf(calculate("/timer1/pulse", "/digitizer3/start")),
             "timer1: /timer1/pulse /timer1/trigger_line0 | digitizer3: /digitizer3/trigger_line0 "
             "/digitizer3/start");
}

TEST_F(TriggerBench, RouteAvoidsWhatIsTaken)
{
   reserve("/timer1/pulse", "/digitizer3/start");
   EXPECT_EQ(
      wayOf(calculate("/digitizer3/ready", "/timer1/gate")),
      "digitizer3: /digitizer3/ready /digitizer3/trigger_line1 | timer1: /timer1/trigger_line1 "
      "/timer1/gate");
}

TEST_F(TriggerBench, RefusedLineNamesTheRouteThatHasIt)
{
   RouteAttributes owned;
   owned.__set_owner_name("driver A");
   owned.constraints["Line"] = textAttribute("trigger_line0");
   const Ticket holder = reserve("/digitizer3/ready", "/timer1/gate", owned);
   const Refused refused = refusalOf([&] { calculate("/timer1/pulse", "/digitizer3/start"); });
   EXPECT_EQ(refused.code, -89308);
   EXPECT_EQ(refused.document["conflicting_ticket"], holder);
   EXPECT_EQ(refused.document["conflicting_owner"], "driver A");
   EXPECT_THAT(refused.texts(),
               ElementsAre("timer1", "/timer1/trigger_line0", "/digitizer3/ready", "/timer1/gate"));
}

TEST_F(TriggerBench, DestinationIsOneRoutesAlone)
{
   reserve("/matrix1/ch0", "/digitizer3/input0");
   const Ticket second = calculate("/matrix1/ch1", "/matrix1/ch2");
   bench.reserveRoute(second);
   EXPECT_EQ(refusalOf([&] { reserve("/matrix1/ch0", "/matrix1/ch2"); }).code, -89307);
   EXPECT_EQ(bench.routes().size(), 2u);
}

TEST_F(TriggerBench, SourceFeedsManyThatDoTheSameToItsSignal)
{
   RouteAttributes inverted;
   inverted.required_modifiers["Invert"] = boolAttribute(true);
   reserve("/timer1/pulse", "/digitizer3/start", inverted);
   EXPECT_NO_THROW(reserve("/timer1/pulse", "/matrix1/scan_advance", inverted));
}

TEST_F(TriggerBench, SourceIsRefusedToARouteThatDoesOtherwise)
{
   RouteAttributes inverted;
   inverted.required_modifiers["Invert"] = boolAttribute(true);
   reserve("/timer1/pulse", "/digitizer3/start", inverted);
   const Refused refused = refusalOf([&] { reserve("/timer1/pulse", "/matrix1/scan_advance"); });
   EXPECT_EQ(refused.code, -89319);
   EXPECT_THAT(refused.texts(), ElementsAre("/timer1/pulse", "Invert = true"));
}

TEST_F(TriggerBench, ModifierThatTheDeviceHasNotIsRefused)
{
   RouteAttributes filtered;
   filtered.required_modifiers["Filter"] = textAttribute("low");
   EXPECT_EQ(refusalOf([&] { calculate("/timer1/pulse", "/digitizer3/start", filtered); }).code,
             -89312);
   RouteAttributes unknown;
   unknown.required_modifiers["Shift"] = textAttribute("low");
   EXPECT_EQ(refusalOf([&] { calculate("/timer1/pulse", "/digitizer3/start", unknown); }).code,
             -89311);
}

TEST_F(TriggerBench, ModifierTakesTheValuesOfTheFile)
{
   RouteAttributes wishes;
   wishes.required_modifiers["Invert"] = textAttribute("maybe");
   const Refused refused =
      refusalOf([&] { calculate("/timer1/pulse", "/digitizer3/start", wishes); });
   EXPECT_EQ(refused.code, -89312);
   EXPECT_EQ(refused.texts().back(), R"(["true","false"])");
}

TEST_F(TriggerBench, OptionalModifierIsLeftOutWhereItCannotBe)
{
   RouteAttributes wishes;
   wishes.optional_modifiers["Filter"] = textAttribute("low");
   const Ticket ticket = calculate("/timer1/pulse", "/digitizer3/start", wishes);
   EXPECT_FALSE(bench.routeInfo(ticket)[0].terminals[0].contains("Filter"));
}

TEST_F(TriggerBench, ConstraintThatNoWayMeetsIsNamed)
{
   RouteAttributes wishes;
   wishes.constraints["Line"] = textAttribute("trigger_line1");
   RouteAttributes single;
   single.constraints["SingleDevice"] = boolAttribute(true);
   EXPECT_EQ(refusalOf([&] { calculate("/timer1/pulse", "/matrix1/scan_advance", single); }).code,
             -89310);
   EXPECT_EQ(refusalOf([&] { calculate("/matrix1/ch0", "/digitizer3/input0", wishes); }).code,
             -89310);
}

TEST_F(TriggerBench, TerminalsThatNothingJoinsHaveNoRoute)
{
   EXPECT_EQ(refusalOf([&] { calculate("/timer1/pulse", "/digitizer3/input0"); }).code, -89306);
}

TEST_F(TriggerBench, StatesAreTakenOneAtATime)
{
   const Ticket ticket = calculate("/timer1/pulse", "/digitizer3/start");
   EXPECT_EQ(refusalOf([&] { bench.programRoute(ticket); }).code, -89305);
   bench.reserveRoute(ticket);
   bench.programRoute(ticket);
   EXPECT_EQ(refusalOf([&] { bench.destroyRoute(ticket); }).code, -89305);
   bench.unprogramRoute(ticket);
   bench.unreserveRoute(ticket);
   bench.destroyRoute(ticket);
   EXPECT_EQ(refusalOf([&] { bench.reserveRoute(ticket); }).code, -89304);
}

TEST_F(TriggerBench, SessionRoutesEndWithTheirConnectionAndImmediateOnesStay)
{
   RouteAttributes immediate;
   immediate.__set_lifetime(RouteLifetime::IMMEDIATE);
   reserve("/timer1/pulse", "/digitizer3/start");
   const Ticket staying = reserve("/digitizer3/ready", "/timer1/gate", immediate);
   bench.endConnection(1);
   ASSERT_EQ(bench.routes().size(), 1u);
   EXPECT_EQ(refusalOf([&] { bench.destroyRoute(staying); }).code, -89317);
   bench.destroyImmediateRoutesToDest("/timer1/gate");
   EXPECT_TRUE(bench.routes().empty());
}

TEST_F(TriggerBench, ChangeNumberMovesWithWhatIsInUse)
{
   const std::int32_t before = bench.changeNumber();
   const Ticket ticket = calculate("/timer1/pulse", "/digitizer3/start");
   EXPECT_EQ(bench.changeNumber(), before);
   bench.reserveRoute(ticket);
   EXPECT_NE(bench.changeNumber(), before);
   EXPECT_TRUE(bench.terminals("timer1", {"InUse"})[0].at("InUse").bool_attr);
}

TEST_F(TriggerBench, DeviceInResetTakesNoRoutesUntilItsConnectionEnds)
{
   const Ticket ticket = reserve("/timer1/pulse", "/digitizer3/start");
   bench.initiateDeviceReset(2, "clock");
   EXPECT_THAT(bench.routableDevices(), ElementsAre("matrix1", "digitizer3"));
   EXPECT_EQ(refusalOf([&] { bench.reserveRoute(ticket); }).code, -89313);
   EXPECT_EQ(refusalOf([&] { calculate("/timer1/pulse", "/digitizer3/start"); }).code, -89313);
   bench.endConnection(2);
   EXPECT_NO_THROW(bench.reserveRoute(ticket));
}

TEST_F(TriggerBench, ProgrammedTerminalResetDisconnectsItsRoutes)
{
   const Ticket route = reserve("/timer1/pulse", "/digitizer3/start");
   const Ticket reset = bench.calculateResetTerminal(1, "/timer1/pulse", "disconnect");
   bench.reserveRoute(reset);
   bench.programRoute(reset);
   EXPECT_EQ(bench.routes().at(route).state, RouteState::CALCULATED);
}

TEST_F(TriggerBench, LinesAreTerminalsOfTheDevicesThatTheyJoin)
{
   std::vector<std::string> names;
   for (const Attributes& terminal : bench.terminals("timer1", {}))
      names.push_back(terminal.at("Name").str_attr);
   EXPECT_THAT(names, ElementsAre("/timer1/pulse", "/timer1/gate", "/timer1/trigger_line0",
                                  "/timer1/trigger_line1"));
   EXPECT_TRUE(bench.isTerminal("timer1/trigger_line0/"));
   EXPECT_TRUE(bench.areEqual("/CLOCK/pulse", "/timer1/pulse"));
}

TEST_F(TriggerBench, WhatAClientSentIsToldEvenIfItIsNotUtf8)
{
   EXPECT_EQ(refusalOf([&] { calculate("/t\xE4ster/x", "/digitizer3/start"); }).code, -89301);
}

class SwitchTree : public testing::Test
{
protected:
   Bench tree{example("switch_tree")};
   Ticket connect(const std::string& from, const std::string& to)
   {
      RouteAttributes wishes;
      wishes.__set_routeState(RouteState::RESERVED);
      return tree.calculateRoute(1, RouteLifetime::SESSION, from, to, wishes);
   }
};

TEST_F(SwitchTree, RoutePassesTheTerminalsThatTheFileConnects)
{
   const Ticket ticket = connect("/mux1/in1", "/meter1/hi");
   const auto devices = tree.routeInfo(ticket);
   ASSERT_EQ(devices.size(), 2u);
   EXPECT_EQ(devices[0].terminals.at(1).at("Name").str_attr, "/mux1/com");
   EXPECT_EQ(devices[0].terminals.at(2).at("Name").str_attr, "/mux1/bus0");
}

TEST_F(SwitchTree, TerminalBetweenTheEndsIsOneRoutesAlone)
{
   connect("/mux1/in1", "/meter1/hi");
   EXPECT_EQ(refusalOf([&] { connect("/mux1/in2", "/meter1/sense"); }).code, -89307);
   EXPECT_NO_THROW(connect("/mux2/in0", "/meter1/sense"));
}

TEST_F(SwitchTree, ForbiddenRouteIsRefused)
{
   EXPECT_EQ(refusalOf([&] { connect("/mux2/in1", "/meter1/sense"); }).code, -89320);
}

TEST(TwoChassis, RouteGoesThroughTheBridge)
{
   Bench bench(example("two_chassis"));
   const Ticket ticket =
      bench.calculateRoute(1, RouteLifetime::SESSION, "/source1/out0", "/sink2/in0", {});
   std::vector<std::string> names;
   for (const DeviceInfo& device : bench.routeInfo(ticket))
      names.push_back(device.deviceName);
   EXPECT_THAT(names, ElementsAre("source1", "bridge", "sink2"));
}

TEST(TwoChassis, LineIsSharedByAsManyRoutesAsItAllows)
{
   Bench bench(example("two_chassis"));
   RouteAttributes reserved;
   reserved.__set_routeState(RouteState::RESERVED);
   const auto connect = [&](const std::string& from, const std::string& to) {
      return bench.calculateRoute(1, RouteLifetime::SESSION, from, to, reserved);
   };
   connect("/source1/out0", "/sink2/in0");
   EXPECT_NO_THROW(connect("/source1/out1", "/sink2/in1"));
   EXPECT_EQ(refusalOf([&] { connect("/source1/out1", "/sink2/in1"); }).code, -89308);
}

TEST(TwoChassis, DeviceInResetBetweenTheEndsIsNamed)
{
   Bench bench(example("two_chassis"));
   bench.initiateDeviceReset(2, "bridge");
   const Refused refused = refusalOf(
      [&] { bench.calculateRoute(1, RouteLifetime::SESSION, "/source1/out0", "/sink2/in0", {}); });
   EXPECT_EQ(refused.code, -89313);
   EXPECT_THAT(refused.texts(), ElementsAre("bridge"));
}

} // namespace
