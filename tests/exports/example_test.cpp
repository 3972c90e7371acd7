// The example programs on services that refuse: what a host copies from them must neither crash nor
// take a refusal for a success.
#include "exports/peer_session.h"
#include "service/wire_bytes.h"
#include "support/program_outcome.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

namespace {

using namespace zerova::test;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr const char* kTerminalMethod = "getTerminalNamesAndAttributesForDevice";

std::string refusal(const std::string& method, int32_t code)
{
   return statusReply(method, code, R"({"why":"busy"})");
}

Script refusingTheVersion(int32_t code)
{
   return Script().answerAll([code](const std::string&) { return refusal("version", code); });
}

// The version is accepted, and isDebug has no refusal.
Script refusingEachCall(int32_t code)
{
   return Script().answerAll([code](const std::string& frame) {
      const std::string method = methodOf(frame);
      return method == "version" || method == "isDebug" ? plainReply(method)
                                                        : refusal(method, code);
   });
}

// A terminal with the attributes that all terminals of the laboratory have, or with none.
std::string terminalMap(bool complete)
{
   WireBytes map;
   map.mapHeader(wire::kString, wire::kStruct, complete ? 5 : 0);
   if (complete)
      map.stringAttribute("Name", "/dev1/t0")
         .stringAttribute("Kind", "analog")
         .boolAttribute("IsSource", true)
         .boolAttribute("IsDestination", false)
         .boolAttribute("InUse", true);
   return map.bytes();
}

std::string terminalReply(bool complete)
{
   WireBytes reply;
   reply.message(wire::kReply, kTerminalMethod).field(wire::kList, 0).listHeader(wire::kMap, 1);
   return reply.raw(terminalMap(complete)).stop().frame();
}

std::string routeInfoReply()
{
   WireBytes reply;
   reply.message(wire::kReply, "getRouteInfo").field(wire::kList, 0).listHeader(wire::kStruct, 1);
   reply.textField(1, "dev1").field(wire::kList, 2).listHeader(wire::kMap, 1);
   return reply.raw(terminalMap(true)).stop().stop().frame();
}

// What an example told, and what it asked the service of this machine for.
struct Outcome
{
   int exitCode;
   std::string output;
   std::vector<std::string> methods;
};

// Runs an example against script on every endpoint.
Outcome runOn(const std::string& program, const Script& script)
{
   const RawPeer plain(Listener::local("com.zerova"), script);
   const RawPeer immediate(Listener::local("com.zerova.immediate"), script);
   const RemotePeer remote(script);
   const ProgramOutcome outcome = runProgram({program, remote.host()});
   Outcome told{outcome.exitCode, outcome.output, {}};
   for (const std::string& frame : plain.frames())
      told.methods.push_back(methodOf(frame));
   return told;
}

// The tour as far as it gets with answer for one method.
Outcome tourWith(const std::string& method, const Script::Answer& answer)
{
   return runOn(ROUTE_TOUR, Script().answerAll([=](const std::string& frame) {
      const std::string asked = methodOf(frame);
      if (asked == method) return answer(frame);
      if (asked == kTerminalMethod) return terminalReply(true);
      if (asked == "getRouteInfo") return routeInfoReply();
      return plainReply(asked);
   }));
}

class RefusedExample : public testing::TestWithParam<int32_t>
{
protected:
   std::string code() const { return std::to_string(GetParam()); }
};

std::string nameOf(const testing::TestParamInfo<int32_t>& refused)
{
   return refused.param < 0 ? "Error" : refused.param > 0 ? "Warning" : "Zero";
}

INSTANTIATE_TEST_SUITE_P(By, RefusedExample, testing::Values(-77, 0, 7), nameOf);

TEST_P(RefusedExample, QuickStartTellsThatThereIsNoSession)
{
   const Outcome outcome = runOn(QUICK_START, refusingTheVersion(GetParam()));
   EXPECT_EQ(outcome.exitCode, 1) << outcome.output;
   EXPECT_THAT(outcome.output, HasSubstr("not connected: " + code() + " "));
   EXPECT_THAT(outcome.output, Not(HasSubstr("by route")));
}

TEST_P(RefusedExample, TourTellsThatThereIsNoSession)
{
   const Outcome outcome = runOn(ROUTE_TOUR, refusingTheVersion(GetParam()));
   EXPECT_EQ(outcome.exitCode, 1) << outcome.output;
   EXPECT_THAT(outcome.output, HasSubstr("route_tour: opening a session on this machine: "));
}

TEST_P(RefusedExample, TourTellsOfACallThatIsRefused)
{
   const Outcome outcome = runOn(ROUTE_TOUR, refusingEachCall(GetParam()));
   EXPECT_EQ(outcome.exitCode, 1) << outcome.output;
   EXPECT_THAT(outcome.output, HasSubstr("route_tour: listing the devices: "));
}

TEST_P(RefusedExample, TourTellsOfTerminalsThatAreRefused)
{
   const Outcome outcome = tourWith(
      kTerminalMethod, [](const std::string&) { return refusal(kTerminalMethod, GetParam()); });
   EXPECT_EQ(outcome.exitCode, 1) << outcome.output;
   EXPECT_THAT(outcome.output, HasSubstr("route_tour: listing terminals: "));
}

TEST_P(RefusedExample, TourTellsOfARouteThatIsNotShown)
{
   const Outcome outcome = tourWith(
      "getRouteInfo", [](const std::string&) { return refusal("getRouteInfo", GetParam()); });
   EXPECT_EQ(outcome.exitCode, 1) << outcome.output;
   EXPECT_THAT(outcome.output, HasSubstr("route_tour: reading a route's devices: "));
}

// With a code of 0 there is nothing that could tell.
TEST(QuickStart, UsesNoResultOfACallThatWasRefused)
{
   for (const int32_t code : {-77, 7}) {
      const Outcome outcome = runOn(QUICK_START, refusingEachCall(code));
      EXPECT_EQ(outcome.exitCode, 1) << outcome.output;
      EXPECT_THAT(outcome.output, StartsWith("not connected: " + std::to_string(code) + " "));
      EXPECT_THAT(outcome.methods, ElementsAre("version", "calculateRoute"));
   }
}

TEST(QuickStart, TellsOfARouteThatIsNotProgrammed)
{
   for (const int32_t code : {-77, 7}) {
      const Outcome outcome =
         runOn(QUICK_START, Script().answerAll([code](const std::string& frame) {
            const std::string method = methodOf(frame);
            return method == "programRoute" ? refusal(method, code) : plainReply(method);
         }));
      EXPECT_EQ(outcome.exitCode, 1) << outcome.output;
      EXPECT_THAT(outcome.output, StartsWith("not connected: " + std::to_string(code) + " "));
   }
}

TEST(QuickStart, TellsTheRouteThatConnects)
{
   const Outcome outcome = runOn(QUICK_START, answeringPlainly());
   EXPECT_EQ(outcome.exitCode, 0);
   EXPECT_THAT(outcome.output, HasSubstr("connected by route 7\n"));
}

TEST(RouteTour, TellsOfATerminalWithoutAttributes)
{
   const Outcome outcome =
      tourWith(kTerminalMethod, [](const std::string&) { return terminalReply(false); });
   EXPECT_EQ(outcome.exitCode, 1) << outcome.output;
   EXPECT_THAT(outcome.output, HasSubstr("route_tour: reading the attribute Name: status -52005 "));
}

TEST(RouteTour, TellsOfATerminalWhoseNameIsGone)
{
   int asked = 0;
   const Outcome outcome =
      tourWith(kTerminalMethod, [&](const std::string&) { return terminalReply(asked++ == 0); });
   EXPECT_EQ(outcome.exitCode, 1) << outcome.output;
   EXPECT_EQ(asked, 2) << outcome.output;
   EXPECT_THAT(outcome.output, HasSubstr("route_tour: reading the attribute Name: status -52005 "));
}

// Its own status takes what the reading of an absent attribute leaves.
TEST(RouteTour, TellsTheOwnerOfATerminalThatHasOneAndGoesOnWithoutOne)
{
   const std::string owned = WireBytes()
                                .mapHeader(wire::kString, wire::kStruct, 5)
                                .stringAttribute("Name", "/dev1/owned")
                                .stringAttribute("Kind", "analog")
                                .boolAttribute("IsSource", false)
                                .boolAttribute("IsDestination", false)
                                .stringAttribute("Owner", "a bench")
                                .bytes();
   WireBytes reply;
   reply.message(wire::kReply, kTerminalMethod).field(wire::kList, 0).listHeader(wire::kMap, 3);
   for (const std::string& terminal : {terminalMap(true), owned, terminalMap(true)})
      reply.raw(terminal);
   const std::string frame = reply.stop().frame();
   const Outcome outcome = tourWith(kTerminalMethod, [&](const std::string&) { return frame; });
   EXPECT_THAT(outcome.output, HasSubstr("   /dev1/t0                   analog, source\n"
                                         "   /dev1/owned                analog, owned by a bench\n"
                                         "   /dev1/t0                   analog, source\n"));
   EXPECT_THAT(outcome.output, HasSubstr("\n== A route and its states\n"));
}

} // namespace
