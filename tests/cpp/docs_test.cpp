// The programs of docs/cpp.md, as they stand there.
#include "service/routing_service.h"
#include "support/program_outcome.h"
#include "tools/simulator/error_codes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace {

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;
using zerova::test::RoutingService;

TEST(DocsCpp, FirstProgramListsRoutesAndIsRefused)
{
   const RoutingService service({.local = true});
   const ProgramOutcome outcome = runProgram({FIRST});
   EXPECT_EQ(outcome.exitCode, 1);
   EXPECT_THAT(outcome.output, HasSubstr("timer1 /timer1/pulse source\n"));
   EXPECT_THAT(outcome.output, HasSubstr("timer1 /timer1/gate\n"));
   EXPECT_THAT(outcome.output, HasSubstr("route "));
   EXPECT_THAT(outcome.output,
               HasSubstr(std::to_string(zerova::simulator::kWrongRouteState.number) + " {"));
   EXPECT_EQ(service.routeCount(), 0u);
}

TEST(DocsCpp, ChainConnects)
{
   const RoutingService service({.local = true});
   const ProgramOutcome outcome = runProgram({CHAIN});
   EXPECT_EQ(outcome.exitCode, 0) << outcome.output;
}

TEST(DocsCpp, ChainTellsThatThereIsNoService)
{
   const ProgramOutcome outcome = runProgram({CHAIN});
   EXPECT_EQ(outcome.exitCode, 1);
   EXPECT_THAT(outcome.output, StartsWith("not connected: -89168 {"));
}

TEST(DocsCpp, WordsOfARefusalAreGermanRows)
{
   const RoutingService service({.local = true});
   const ProgramOutcome outcome = runProgram({WORDS, TEXTS_ROOT});
   EXPECT_EQ(outcome.exitCode, 0) << outcome.output;
   EXPECT_THAT(outcome.output,
               StartsWith(std::to_string(zerova::simulator::kWrongRouteState.number) + "\n   "));
   EXPECT_THAT(outcome.output, HasSubstr("\n   Quellanschluss: /matrix1/ch0\n"));
   EXPECT_THAT(outcome.output, Not(HasSubstr("not found"))) << "there is no sentence of that code";
}

TEST(DocsCpp, WordsOfAServiceThatIsNotThereAreAGermanSentence)
{
   const ProgramOutcome outcome = runProgram({WORDS, TEXTS_ROOT});
   EXPECT_EQ(outcome.exitCode, 0) << outcome.output;
   EXPECT_THAT(outcome.output, StartsWith("-89168\n   Der Routingdienst"));
}

TEST(DocsCpp, WordsWithoutAFolderSayWhatIsWanted)
{
   const ProgramOutcome outcome = runProgram({WORDS});
   EXPECT_EQ(outcome.exitCode, 2);
   EXPECT_EQ(outcome.output, "words TEXTS\n");
}

} // namespace
