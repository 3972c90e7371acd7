#include "standin_client.h"

namespace zerova::standin {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Key;
using testing::Pair;

class StandInRoute : public StandIn
{
protected:
   Ticket calculate(const std::string& from = "/matrix1/ch0",
                    const std::string& to = "/matrix1/ch1")
   {
      return client_->calculateRoute(from, to, plain_);
   }

   // The terminals that a route passes, as "device: terminal terminal".
   std::vector<std::string> wayOf(Ticket ticket)
   {
      std::vector<DeviceInfo> devices;
      client_->getRouteInfo(devices, ticket);
      std::vector<std::string> way;
      for (const DeviceInfo& device : devices) {
         way.push_back(device.deviceName + ":");
         for (const auto& terminal : device.terminals)
            way.back() += " " + terminal.at("Name").str_attr;
      }
      return way;
   }
};

TEST_F(StandInRoute, GoesForwardAndBackOneStepAtATime)
{
   const Ticket ticket = calculate();
   client_->reserveRoute(ticket);
   client_->programRoute(ticket);
   client_->unprogramRoute(ticket);
   client_->unreserveRoute(ticket);
   client_->destroyRoute(ticket);
   EXPECT_EQ(service_.routeCount(), 0U);
}

TEST_F(StandInRoute, RefusesEveryStepThatTheStateDoesNotAllow)
{
   const Ticket ticket = calculate();
   const auto reserve = [&] { client_->reserveRoute(ticket); };
   const auto program = [&] { client_->programRoute(ticket); };
   const auto unprogram = [&] { client_->unprogramRoute(ticket); };
   const auto unreserve = [&] { client_->unreserveRoute(ticket); };
   const auto destroy = [&] { client_->destroyRoute(ticket); };
   const auto expectRefused = [](const std::vector<std::function<void()>>& steps) {
      for (const auto& step : steps)
         EXPECT_EQ(codeOf(step), kWrongRouteState.number);
   };
   expectRefused({program, unprogram, unreserve});
   reserve();
   expectRefused({reserve, unprogram, destroy});
   program();
   expectRefused({reserve, program, unreserve, destroy});
   unprogram();
   expectRefused({unprogram, reserve, destroy});
}

TEST_F(StandInRoute, SaysWhichStateAStepNeeds)
{
   const Ticket ticket = calculate();
   const ThriftStatus status = refusalOf([&] { client_->programRoute(ticket); });
   EXPECT_THAT(status.description,
               AllOf(HasSubstr(R"("ticket":)" + std::to_string(ticket)),
                     HasSubstr(R"("step":"program")"), HasSubstr(R"("route_state":"CALCULATED")"),
                     HasSubstr(R"("needed_route_state":"RESERVED")"),
                     HasSubstr(row("kUsageTypeSourceTerminal", R"("/matrix1/ch0")")),
                     HasSubstr(row("kUsageTypeDestinationTerminal", R"("/matrix1/ch1")"))));
}

TEST_F(StandInRoute, RefusesATicketThatItDidNotHandOut)
{
   const ThriftStatus status = refusalOf([&] { client_->reserveRoute(-77); });
   EXPECT_EQ(status.code, kUnknownTicket.number);
   EXPECT_THAT(status.description, HasSubstr(R"("ticket":-77})"));
}

TEST_F(StandInRoute, RefusesATicketThatWasDestroyed)
{
   const Ticket ticket = calculate();
   client_->destroyRoute(ticket);
   std::vector<DeviceInfo> devices;
   EXPECT_EQ(codeOf([&] { client_->getRouteInfo(devices, ticket); }), kUnknownTicket.number);
}

TEST_F(StandInRoute, PassesTheTwoEndsInsideOneDevice)
{
   EXPECT_THAT(wayOf(calculate()), ElementsAre("matrix1: /matrix1/ch0 /matrix1/ch1"));
}

TEST_F(StandInRoute, PassesOneLineBetweenTwoDevices)
{
   EXPECT_THAT(wayOf(calculate("/timer1/pulse", "/digitizer3/start")),
               ElementsAre("timer1: /timer1/pulse /timer1/trigger_line0",
                           "digitizer3: /digitizer3/trigger_line0 /digitizer3/start"));
}

TEST_F(StandInRoute, PassesNoDeviceFromATerminalToItself)
{
   EXPECT_THAT(wayOf(calculate("/matrix1/ch0", "/MATRIX1/ch0/")), IsEmpty());
}

TEST_F(StandInRoute, LeavesItsDeviceWhenItIsForcedTo)
{
   RouteAttributes attributes;
   attributes.__set_force_multi_device_route(true);
   const Ticket ticket = client_->calculateRoute("/matrix1/ch0", "/matrix1/ch1", attributes);
   EXPECT_THAT(wayOf(ticket),
               ElementsAre("matrix1: /matrix1/ch0 /matrix1/analog_line0",
                           "scanner2: /scanner2/analog_line0", "matrix1: /matrix1/ch1"));
}

TEST_F(StandInRoute, IsRefusedBetweenTerminalsThatCannotBeJoined)
{
   const auto refused = [&](const std::string& from, const std::string& to) {
      EXPECT_EQ(codeOf([&] { calculate(from, to); }), kRouteNotPossible.number) << from << to;
   };
   refused("/digitizer3/input0", "/matrix1/ch0"); // from a destination
   refused("/matrix1/ch0", "/scanner2/in0");      // to a source
   refused("/timer1/pulse", "/matrix1/ch0");      // from one kind to another
   refused("/matrix1/analog_line0", "/matrix1/ch0");
}

TEST_F(StandInRoute, IsRefusedForATerminalThatIsNotThere)
{
   EXPECT_EQ(codeOf([&] { calculate("/matrix9/ch0"); }), kUnknownDevice.number);
   EXPECT_EQ(codeOf([&] { calculate("/matrix1/ch9"); }), kUnknownTerminal.number);
   EXPECT_EQ(codeOf([&] { calculate(""); }), kMalformedUri.number);
}

TEST_F(StandInRoute, ComesBackInItsTargetState)
{
   RouteAttributes attributes;
   attributes.__set_routeState(RouteState::PROGRAMMED);
   const Ticket ticket = client_->calculateRoute("/matrix1/ch0", "/matrix1/ch1", attributes);
   client_->unprogramRoute(ticket);
   client_->unreserveRoute(ticket);
}

TEST_F(StandInRoute, DoesNotComeBackShortOfItsTargetState)
{
   client_->reserveRoute(calculate());
   const std::int32_t change = client_->getSystemChangeNumber();
   RouteAttributes attributes;
   attributes.__set_routeState(RouteState::RESERVED);
   EXPECT_EQ(codeOf([&] { client_->calculateRoute("/matrix1/ch2", "/matrix1/ch1", attributes); }),
             kTerminalInUse.number);
   EXPECT_EQ(service_.routeCount(), 1U);
   EXPECT_EQ(client_->getSystemChangeNumber(), change);
}

TEST_F(StandInRoute, HasItsDestinationToItself)
{
   RouteAttributes attributes;
   attributes.__set_owner_name("a bench test");
   client_->reserveRoute(client_->calculateRoute("/matrix1/ch0", "/matrix1/ch1", attributes));
   const Ticket second = calculate("/matrix1/ch2", "/matrix1/ch1");
   const ThriftStatus status = refusalOf([&] { client_->reserveRoute(second); });
   EXPECT_EQ(status.code, kTerminalInUse.number);
   EXPECT_THAT(status.description,
               AllOf(HasSubstr(R"("conflicting_owner":"a bench test")"),
                     HasSubstr(row("kUsageTypeDevice", R"("matrix1")")),
                     HasSubstr(row("kUsageTypeTerminalString", R"("/matrix1/ch1")")),
                     HasSubstr(R"({"type":"empty"})"), HasSubstr(R"({"type":"header","usage":")"),
                     HasSubstr(row("kUsageTypeSourceTerminal", R"("/matrix1/ch0")"))));
}

TEST_F(StandInRoute, DoesNotListenWhereAnotherDrives)
{
   client_->reserveRoute(calculate("/matrix1/ch0", "/matrix1/ch1"));
   const Ticket second = calculate("/matrix1/ch1", "/matrix1/ch2");
   EXPECT_EQ(codeOf([&] { client_->reserveRoute(second); }), kTerminalInUse.number);
}

TEST_F(StandInRoute, SharesItsSource)
{
   client_->reserveRoute(calculate("/matrix1/ch0", "/matrix1/ch1"));
   EXPECT_NO_THROW(client_->reserveRoute(calculate("/matrix1/ch0", "/matrix1/ch2")));
}

TEST_F(StandInRoute, GivesItsTerminalsBackWhenItIsUnreserved)
{
   const Ticket first = calculate();
   client_->reserveRoute(first);
   client_->unreserveRoute(first);
   EXPECT_NO_THROW(client_->reserveRoute(calculate("/matrix1/ch2", "/matrix1/ch1")));
}

TEST_F(StandInRoute, TakesTheNextLineWhenOneIsTaken)
{
   client_->reserveRoute(calculate("/timer1/pulse", "/digitizer3/start"));
   EXPECT_THAT(wayOf(calculate("/scanner2/settled", "/timer1/gate")),
               ElementsAre("scanner2: /scanner2/settled /scanner2/trigger_line1",
                           "timer1: /timer1/trigger_line1 /timer1/gate"));
}

TEST_F(StandInRoute, IsRefusedWhenEveryLineIsTaken)
{
   client_->reserveRoute(calculate("/timer1/osc", "/digitizer3/refclk"));
   const ThriftStatus status = refusalOf([&] { calculate("/timer1/osc", "/digitizer3/refclk"); });
   EXPECT_EQ(status.code, kLineInUse.number);
   EXPECT_THAT(status.description, HasSubstr(row("kUsageTypeValue", R"(["clock_line0"])")));
}

TEST_F(StandInRoute, IsRefusedWhenItsLineWasTakenSinceItWasCalculated)
{
   const Ticket first = calculate("/timer1/pulse", "/digitizer3/start");
   const Ticket second = calculate("/timer1/pulse", "/matrix1/scan_advance");
   client_->reserveRoute(first);
   EXPECT_EQ(codeOf([&] { client_->reserveRoute(second); }), kLineInUse.number);
}

TEST_F(StandInRoute, EndsWithItsConnection)
{
   {
      const auto other = connect();
      (*other)->reserveRoute((*other)->calculateRoute("/matrix1/ch0", "/matrix1/ch1", plain_));
      EXPECT_EQ(service_.routeCount(), 1U);
   }
   ASSERT_TRUE(service_.waitForConnectionCount(1));
   EXPECT_EQ(service_.routeCount(), 0U);
   EXPECT_NO_THROW(client_->reserveRoute(calculate()));
}

TEST_F(StandInRoute, WorksOnAnyConnectionOfTheService)
{
   const Ticket ticket = calculate();
   const auto other = connect();
   EXPECT_NO_THROW((*other)->reserveRoute(ticket));
}

TEST_F(StandInRoute, ShowsItsOwnerWhileItIsReserved)
{
   RouteAttributes attributes;
   attributes.__set_owner_name("a bench test");
   const Ticket ticket = client_->calculateRoute("/matrix1/ch0", "/matrix1/ch1", attributes);
   const auto firstTerminal = [&] {
      std::vector<Attributes> terminals;
      client_->getTerminalNamesAndAttributesForDevice(terminals, "matrix1", {"InUse", "Owner"});
      return terminals.at(0);
   };
   EXPECT_THAT(firstTerminal(), ElementsAre(Pair("InUse", IsBool(false))));
   client_->reserveRoute(ticket);
   EXPECT_THAT(firstTerminal(),
               ElementsAre(Pair("InUse", IsBool(true)), Pair("Owner", IsText("a bench test"))));
}

} // namespace
} // namespace zerova::standin
