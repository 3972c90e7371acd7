// What a Route does to its ticket, on a service that keeps real routes.
#include "exports/peer_session.h"
#include "service/loopback_address.h"
#include "service/routing_service.h"
#include "service/wire_bytes.h"
#include "tools/simulator/error_codes.h"
#include "zerovaapi.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace zerova::test;
using testing::ElementsAre;
using testing::HasSubstr;
using zerova::test::RoutingService;
using zerovaapi::Error;
using zerovaapi::Lifetime;
using zerovaapi::Route;
using zerovaapi::RouteAttributes;
using zerovaapi::Session;
using zerovaapi::State;
using zerovaapi::Status;

class CppRoute : public testing::Test
{
protected:
   Route calculate(const char* destination = "/matrix1/ch1")
   {
      return session.calculate("/matrix1/ch0", destination);
   }

   LoopbackAddress address;
   RoutingService service{{.address = address.text(), .locatorPort = 3580}};
   Session session = Session::remote(address.text());
};

TEST_F(CppRoute, EndsItsTicketInEachState)
{
   calculate();
   EXPECT_EQ(service.routeCount(), 0u);
   calculate().reserve();
   EXPECT_EQ(service.routeCount(), 0u);
   calculate().reserve().program();
   EXPECT_EQ(service.routeCount(), 0u);
   calculate().reserve().program().unprogram();
   EXPECT_EQ(service.routeCount(), 0u);
   calculate().reserve().program().unprogram().unreserve();
   EXPECT_EQ(service.routeCount(), 0u);
}

TEST_F(CppRoute, EndsARouteThatWasProgrammedByItsCalculation)
{
   RouteAttributes wish;
   wish.targetState(State::programmed);
   {
      const Route route = session.calculate("/matrix1/ch0", "/matrix1/ch1", &wish);
      EXPECT_EQ(service.routeCount(), 1u);
   }
   EXPECT_EQ(service.routeCount(), 0u);
}

TEST_F(CppRoute, GivesItsTicketUp)
{
   int32_t ticket = 0;
   {
      Route route = calculate().reserve().release() != 0 ? calculate() : Route();
      ticket = route.release();
      EXPECT_NE(ticket, 0);
      EXPECT_FALSE(route);
   }
   EXPECT_EQ(service.routeCount(), 2u);
   session.route(ticket).end();
   EXPECT_EQ(service.routeCount(), 1u);
}

TEST_F(CppRoute, TicketThatIsTakenOverEndsFromTheStateThatItIsSaidToBeIn)
{
   Route route = calculate();
   route.reserve().program();
   const int32_t ticket = route.release();
   session.route(ticket, State::programmed);
   EXPECT_EQ(service.routeCount(), 0u);
}

TEST_F(CppRoute, CalculatedResetIsCarriedOutThroughOne)
{
   Route route = calculate();
   route.reserve();
   const int32_t number = session.calculateResetTerminal("/matrix1/ch1", "disconnect");
   session.route(number).reserve().program();
   EXPECT_EQ(service.routeCount(), 1u) << "the route alone";
   EXPECT_NO_THROW(route.reserve());
}

TEST_F(CppRoute, EndTellsWhatTheServiceRefuses)
{
   Route route = calculate();
   session.route(route.ticket()).end();
   Status status;
   route.end(status);
   EXPECT_EQ(status.code(), zerova::simulator::kUnknownTicket.number);
   EXPECT_TRUE(route) << "it still holds the ticket";
   EXPECT_THROW(route.end(), Error);
}

TEST_F(CppRoute, EndedRouteHoldsNothing)
{
   Route route = calculate();
   route.reserve().program().end();
   EXPECT_FALSE(route);
   EXPECT_EQ(route.ticket(), 0);
   EXPECT_EQ(service.routeCount(), 0u);
   EXPECT_THROW(route.reserve(), Error);
}

TEST_F(CppRoute, MovesWithItsTicket)
{
   Route route = calculate();
   const int32_t ticket = route.ticket();
   Route taken = std::move(route);
   EXPECT_EQ(taken.ticket(), ticket);
   EXPECT_FALSE(route); // NOLINT(bugprone-use-after-move)
   EXPECT_EQ(route.ticket(), 0);
   EXPECT_EQ(service.routeCount(), 1u);
   Status status;
   route.reserve(status);
   EXPECT_EQ(status.code(), zerovaapi::kInvalidParameter);
   EXPECT_THAT(status.json(), HasSubstr("moved from"));
   taken.reserve();
}

TEST_F(CppRoute, AssignedRouteEndsTheOneThatItHeld)
{
   Route route = calculate();
   EXPECT_TRUE(route);
   route = calculate("/matrix1/ch2");
   EXPECT_EQ(service.routeCount(), 1u);
   route = Route();
   EXPECT_EQ(service.routeCount(), 0u);
}

TEST_F(CppRoute, GrowsInAVector)
{
   {
      std::vector<Route> routes;
      for (const char* destination : {"/matrix1/ch1", "/matrix1/ch2", "/matrix1/ch3"})
         routes.push_back(calculate(destination));
      EXPECT_EQ(service.routeCount(), 3u);
      routes.erase(routes.begin() + 1);
      EXPECT_EQ(service.routeCount(), 2u);
      for (Route& route : routes)
         EXPECT_NO_THROW(route.devices());
   }
   EXPECT_EQ(service.routeCount(), 0u);
}

TEST_F(CppRoute, FollowsASessionThatIsMoved)
{
   Route first = calculate();
   Route second = calculate("/matrix1/ch2");
   Session taken = std::move(session);
   first.end();
   EXPECT_EQ(service.routeCount(), 1u);
   taken.close();
   EXPECT_FALSE(second);
}

TEST_F(CppRoute, OfASessionThatIsClosedFailsAndIsNoCrash)
{
   Route route = calculate();
   Route other = calculate("/matrix1/ch2");
   session.close();
   EXPECT_FALSE(route);
   Status status;
   route.reserve(status);
   EXPECT_EQ(status.code(), zerovaapi::kInvalidParameter);
   EXPECT_THAT(status.json(), HasSubstr("its session is closed"));
   EXPECT_THROW(other.end(), Error);
   EXPECT_THROW(other.devices(), Error);
   EXPECT_FALSE(session.route(1)) << "of a closed session";
}

TEST_F(CppRoute, OutlivesItsSessionAndDoesNothing)
{
   Route route;
   {
      Session inner = Session::remote(address.text());
      route = inner.calculate("/matrix1/ch0", "/matrix1/ch1");
      EXPECT_NE(route.ticket(), 0);
   }
   EXPECT_FALSE(route);
   EXPECT_EQ(route.ticket(), 0);
   EXPECT_EQ(route.release(), 0);
}

TEST_F(CppRoute, OfARefusedCalculationHoldsNothing)
{
   Status status;
   Route route = session.calculate("/matrix1/ch0", "/nowhere/x", status);
   EXPECT_FALSE(route);
   EXPECT_EQ(status.code(), zerova::simulator::kUnknownDevice.number);
   route.reserve(status).program(status).unprogram(status).unreserve(status).end(status);
   EXPECT_EQ(status.code(), zerova::simulator::kUnknownDevice.number) << "the first failure stays";
}

TEST_F(CppRoute, RefusedStepIsThrownWithTheServicesText)
{
   Route route = calculate();
   try {
      route.program();
      FAIL() << "it is not reserved";
   } catch (const Error& error) {
      EXPECT_EQ(error.code(), zerova::simulator::kWrongRouteState.number);
      EXPECT_THAT(error.json(), HasSubstr(zerova::simulator::kWrongRouteState.constant));
   }
}

TEST_F(CppRoute, ThatIsImmediateStaysWhenItsObjectEnds)
{
   RouteAttributes wish;
   wish.lifetime(Lifetime::immediate).targetState(State::programmed);
   session.calculate("/matrix1/ch0", "/matrix1/ch1", &wish);
   EXPECT_EQ(service.routeCount(), 1u);
   session.destroyImmediateRoute("/matrix1/ch0", "/matrix1/ch1");
   EXPECT_EQ(service.routeCount(), 0u);
}

TEST_F(CppRoute, TellsTheDevicesOnItsWay)
{
   RouteAttributes wish;
   wish.constraint("Line", "trigger_line1");
   Route route = session.calculate("/timer1/pulse", "/digitizer3/start", &wish);
   std::vector<std::string> names;
   for (const auto device : route.devices())
      names.push_back(device.name().str());
   EXPECT_THAT(names, ElementsAre("timer1", "digitizer3"));
   EXPECT_STREQ(route.show().c_str(), "[]");
}

TEST(CppDestructor, OfARouteOnADeadSessionIsQuickAndSilent)
{
   RemotePeer peer(Script().acceptVersion().receive().send(i32Reply("calculateRoute", 7)).close());
   const auto start = std::chrono::steady_clock::now();
   {
      Session session = Session::remote(peer.host());
      const Route route = session.calculate("/a/b", "/c/d");
   }
   EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
}

TEST(CppDestructor, OfARouteThatTheServiceRefusesToEndIsSilent)
{
   RemotePeer peer(Script().answerAll([](const std::string& frame) {
      const std::string method = methodOf(frame);
      return method == "version" || method == "calculateRoute" || method == "reserveRoute"
                ? plainReply(method)
                : statusReply(method, -77, "no");
   }));
   Session session = Session::remote(peer.host());
   EXPECT_NO_THROW(session.calculate("/a/b", "/c/d").reserve());
   std::vector<std::string> methods;
   for (const std::string& frame : peer.service().frames())
      methods.push_back(methodOf(frame));
   EXPECT_THAT(methods, ElementsAre("version", "calculateRoute", "reserveRoute", "unreserveRoute",
                                    "destroyRoute"));
}

} // namespace
