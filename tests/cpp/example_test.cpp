// The example in C++, on a service that keeps real routes.
#include "service/loopback_address.h"
#include "service/routing_service.h"
#include "support/program_outcome.h"
#include "tools/simulator/error_codes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace {

using testing::HasSubstr;
using zerova::test::RoutingService;

TEST(ListAndRoute, ListsTerminalsMakesARouteAndTellsARefusalInGerman)
{
   const RoutingService service({.local = true});
   const ProgramOutcome outcome = runProgram({LIST_AND_ROUTE, TEXTS_ROOT});
   EXPECT_EQ(outcome.exitCode, 0) << outcome.output;
   EXPECT_THAT(outcome.output, HasSubstr("timer1\n"));
   EXPECT_THAT(outcome.output, HasSubstr("   /timer1/pulse, source\n"));
   EXPECT_THAT(outcome.output, HasSubstr("programmed, by way of timer1 digitizer3\n"));
   EXPECT_THAT(outcome.output,
               HasSubstr("refused with " +
                         std::to_string(zerova::simulator::kWrongRouteState.number) + "\n"));
   EXPECT_THAT(outcome.output, HasSubstr("   Quellanschluss: /matrix1/ch0\n"));
   EXPECT_EQ(service.routeCount(), 0u);
}

TEST(ListAndRoute, ReachesAnotherMachine)
{
   const zerova::test::LoopbackAddress address;
   const RoutingService service({.address = address.text(), .locatorPort = 3580});
   const ProgramOutcome outcome = runProgram({LIST_AND_ROUTE, TEXTS_ROOT, address.text()});
   EXPECT_EQ(outcome.exitCode, 0) << outcome.output;
}

TEST(ListAndRoute, TellsThatThereIsNoService)
{
   const ProgramOutcome outcome = runProgram({LIST_AND_ROUTE, TEXTS_ROOT});
   EXPECT_EQ(outcome.exitCode, 1);
   EXPECT_THAT(outcome.output, HasSubstr("list_and_route: status -89168: {"));
   EXPECT_THAT(outcome.output, HasSubstr("\nDer Routingdienst"));
}

} // namespace
