#include "stub_client.h"

namespace zerova::test {
namespace {

using namespace simulator;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Key;
using testing::Pair;

class LaboratoryRoute : public Laboratory
{
protected:
   std::int32_t calculate(const std::string& from = "/matrix1/ch0",
                          const std::string& to = "/matrix1/ch1")
   {
      return client_->calculateRoute(from, to, plain_);
   }

   // The terminals that a route passes, as "device: terminal terminal".
   std::vector<std::string> wayOf(std::int32_t ticket)
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

TEST_F(LaboratoryRoute, GoesForwardAndBackOneStepAtATime)
{
   const std::int32_t ticket = calculate();
   client_->reserveRoute(ticket);
   client_->programRoute(ticket);
   client_->unprogramRoute(ticket);
   client_->unreserveRoute(ticket);
   client_->destroyRoute(ticket);
   EXPECT_EQ(service_.routeCount(), 0U);
}

TEST_F(LaboratoryRoute, RefusesEveryStepThatTheStateDoesNotAllow)
{
   const std::int32_t ticket = calculate();
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

TEST_F(LaboratoryRoute, SaysWhichStateAStepNeeds)
{
   const std::int32_t ticket = calculate();
   const ThriftStatus status = refusalOf([&] { client_->programRoute(ticket); });
   EXPECT_THAT(status.description,
               AllOf(HasSubstr(R"("ticket":)" + std::to_string(ticket)),
                     HasSubstr(R"("step":"program")"), HasSubstr(R"("route_state":"CALCULATED")"),
                     HasSubstr(R"("needed_route_state":"RESERVED")"),
                     HasSubstr(row("kUsageTypeSourceTerminal", R"("/matrix1/ch0")")),
                     HasSubstr(row("kUsageTypeDestinationTerminal", R"("/matrix1/ch1")"))));
}

TEST_F(LaboratoryRoute, RefusesATicketThatItDidNotHandOut)
{
   const ThriftStatus status = refusalOf([&] { client_->reserveRoute(-77); });
   EXPECT_EQ(status.code, kUnknownTicket.number);
   EXPECT_THAT(status.description, HasSubstr(R"("ticket":-77,)"));
}

TEST_F(LaboratoryRoute, RefusesATicketThatWasDestroyed)
{
   const std::int32_t ticket = calculate();
   client_->destroyRoute(ticket);
   std::vector<DeviceInfo> devices;
   EXPECT_EQ(codeOf([&] { client_->getRouteInfo(devices, ticket); }), kUnknownTicket.number);
}

TEST_F(LaboratoryRoute, PassesTheTwoEndsInsideOneDevice)
{
   EXPECT_THAT(wayOf(calculate()), ElementsAre("matrix1: /matrix1/ch0 /matrix1/ch1"));
}

TEST_F(LaboratoryRoute, PassesOneLineBetweenTwoDevices)
{
   EXPECT_THAT(wayOf(calculate("/timer1/pulse", "/digitizer3/start")),
               ElementsAre("timer1: /timer1/pulse /timer1/trigger_line0",
                           "digitizer3: /digitizer3/trigger_line0 /digitizer3/start"));
}

TEST_F(LaboratoryRoute, PassesNoDeviceFromATerminalToItself)
{
   EXPECT_THAT(wayOf(calculate("/matrix1/ch0", "/MATRIX1/ch0/")), IsEmpty());
}

TEST_F(LaboratoryRoute, LeavesItsDeviceWhenItIsForcedTo)
{
   RouteAttributes attributes;
   attributes.__set_force_multi_device_route(true);
   const std::int32_t ticket = client_->calculateRoute("/matrix1/ch0", "/matrix1/ch1", attributes);
   EXPECT_THAT(wayOf(ticket),
               ElementsAre("matrix1: /matrix1/ch0 /matrix1/analog_line0",
                           "scanner2: /scanner2/analog_line0", "matrix1: /matrix1/ch1"));
}

TEST_F(LaboratoryRoute, IsRefusedBetweenTerminalsThatCannotBeJoined)
{
   const auto refused = [&](const std::string& from, const std::string& to) {
      EXPECT_EQ(codeOf([&] { calculate(from, to); }), kRouteNotPossible.number) << from << to;
   };
   refused("/digitizer3/input0", "/matrix1/ch0"); // from a destination
   refused("/matrix1/ch0", "/scanner2/in0");      // to a source
   refused("/timer1/pulse", "/matrix1/ch0");      // from one kind to another
   refused("/matrix1/analog_line0", "/matrix1/ch0");
}

TEST_F(LaboratoryRoute, IsRefusedForATerminalThatIsNotThere)
{
   EXPECT_EQ(codeOf([&] { calculate("/matrix9/ch0"); }), kUnknownDevice.number);
   EXPECT_EQ(codeOf([&] { calculate("/matrix1/ch9"); }), kUnknownTerminal.number);
   EXPECT_EQ(codeOf([&] { calculate(""); }), kMalformedUri.number);
}

TEST_F(LaboratoryRoute, ComesBackInItsTargetState)
{
   RouteAttributes attributes;
   attributes.__set_routeState(RouteState::PROGRAMMED);
   const std::int32_t ticket = client_->calculateRoute("/matrix1/ch0", "/matrix1/ch1", attributes);
   client_->unprogramRoute(ticket);
   client_->unreserveRoute(ticket);
}

TEST_F(LaboratoryRoute, DoesNotComeBackShortOfItsTargetState)
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

TEST_F(LaboratoryRoute, HasItsDestinationToItself)
{
   RouteAttributes attributes;
   attributes.__set_owner_name("a bench test");
   client_->reserveRoute(client_->calculateRoute("/matrix1/ch0", "/matrix1/ch1", attributes));
   const std::int32_t second = calculate("/matrix1/ch2", "/matrix1/ch1");
   const ThriftStatus status = refusalOf([&] { client_->reserveRoute(second); });
   EXPECT_EQ(status.code, kTerminalInUse.number);
   EXPECT_THAT(status.description,
               AllOf(HasSubstr(R"("conflicting_owner":"a bench test")"),
                     HasSubstr(row("kUsageTypeDevice", R"("matrix1")")),
                     HasSubstr(row("kUsageTypeTerminalString", R"("/matrix1/ch1")")),
                     HasSubstr(R"({"type":"empty"})"), HasSubstr(R"({"type":"header","usage":")"),
                     HasSubstr(row("kUsageTypeSourceTerminal", R"("/matrix1/ch0")"))));
}

TEST_F(LaboratoryRoute, DoesNotListenWhereAnotherDrives)
{
   client_->reserveRoute(calculate("/matrix1/ch0", "/matrix1/ch1"));
   const std::int32_t second = calculate("/matrix1/ch1", "/matrix1/ch2");
   EXPECT_EQ(codeOf([&] { client_->reserveRoute(second); }), kTerminalInUse.number);
}

TEST_F(LaboratoryRoute, SharesItsSource)
{
   client_->reserveRoute(calculate("/matrix1/ch0", "/matrix1/ch1"));
   EXPECT_NO_THROW(client_->reserveRoute(calculate("/matrix1/ch0", "/matrix1/ch2")));
}

TEST_F(LaboratoryRoute, GivesItsTerminalsBackWhenItIsUnreserved)
{
   const std::int32_t first = calculate();
   client_->reserveRoute(first);
   client_->unreserveRoute(first);
   EXPECT_NO_THROW(client_->reserveRoute(calculate("/matrix1/ch2", "/matrix1/ch1")));
}

TEST_F(LaboratoryRoute, TakesTheNextLineWhenOneIsTaken)
{
   client_->reserveRoute(calculate("/timer1/pulse", "/digitizer3/start"));
   EXPECT_THAT(wayOf(calculate("/scanner2/settled", "/timer1/gate")),
               ElementsAre("scanner2: /scanner2/settled /scanner2/trigger_line1",
                           "timer1: /timer1/trigger_line1 /timer1/gate"));
}

TEST_F(LaboratoryRoute, IsRefusedWhenEveryLineIsTaken)
{
   client_->reserveRoute(calculate("/timer1/osc", "/digitizer3/refclk"));
   const ThriftStatus status = refusalOf([&] { calculate("/timer1/osc", "/digitizer3/refclk"); });
   EXPECT_EQ(status.code, kLineInUse.number);
   EXPECT_THAT(status.description,
               AllOf(HasSubstr(R"("conflicting_ticket":1001)"),
                     HasSubstr(row("kUsageTypeTerminalString", R"("/timer1/clock_line0")"))));
}

TEST_F(LaboratoryRoute, IsRefusedWhenItsLineWasTakenSinceItWasCalculated)
{
   const std::int32_t first = calculate("/timer1/pulse", "/digitizer3/start");
   const std::int32_t second = calculate("/timer1/pulse", "/matrix1/scan_advance");
   client_->reserveRoute(first);
   EXPECT_EQ(codeOf([&] { client_->reserveRoute(second); }), kLineInUse.number);
}

TEST_F(LaboratoryRoute, EndsWithItsConnection)
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

TEST_F(LaboratoryRoute, WorksOnAnyConnectionOfTheService)
{
   const std::int32_t ticket = calculate();
   const auto other = connect();
   EXPECT_NO_THROW((*other)->reserveRoute(ticket));
}

TEST_F(LaboratoryRoute, ShowsItsOwnerWhileItIsReserved)
{
   RouteAttributes attributes;
   attributes.__set_owner_name("a bench test");
   const std::int32_t ticket = client_->calculateRoute("/matrix1/ch0", "/matrix1/ch1", attributes);
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
} // namespace zerova::test
