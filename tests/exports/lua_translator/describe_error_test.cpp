// The example program for people at a bench, run as they run it, from the root of the sources.
#include "support/program_outcome.h"
#include "support/scratch_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace {

using testing::AllOf;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::StartsWith;

struct Outcome
{
   bool succeeded;
   std::string output; // of both streams
};

Outcome describe(const std::string& arguments)
{
   const ProgramOutcome outcome =
      runProgram("cd " DEMO_ERRORS "/../.. && " DESCRIBE_ERROR " " + arguments);
   return {outcome.exitCode == 0, outcome.output};
}

const std::string kDemo =
   "--errors " DEMO_ERRORS "/Errors --aux " DEMO_ERRORS "/Auxerrors --driver zerova ";

TEST(DescribeError, HelpTellsTheUse)
{
   const Outcome outcome = describe("--help");
   EXPECT_TRUE(outcome.succeeded);
   EXPECT_THAT(outcome.output, StartsWith("Usage: describe_error"));
}

TEST(DescribeError, BareCodeIsDescribed)
{
   EXPECT_EQ(describe(kDemo + "-52006").output, "The resource was not found.\n");
   EXPECT_EQ(describe(kDemo + "0xFFFF34DA").output, "The resource was not found.\n");
   EXPECT_EQ(describe(kDemo + "--language french -52006").output,
             "La ressource n'a pas \u00E9t\u00E9 trouv\u00E9e.\n");
   EXPECT_EQ(describe(kDemo + "--language 3 -52006").output,
             "\u30EA\u30BD\u30FC\u30B9\u304C\u898B\u3064\u304B\u308A\u307E\u305B\u3093\u3067"
             "\u3057\u305F\u3002\n");
}

TEST(DescribeError, AllLanguagesAreTold)
{
   const Outcome outcome = describe(kDemo + "--all-languages -89168");
   EXPECT_TRUE(outcome.succeeded);
   EXPECT_THAT(outcome.output,
               ContainsRegex("English\n   The routing.*French\n   Le service.*German\n   The "
                             "routing.*Japanese\n   .*Korean\n   The routing.*Chinese\n   The"));
}

TEST(DescribeError, StatusJsonIsShownAsLines)
{
   EXPECT_EQ(describe("@" DEMO_ERRORS "/refused_route.json").output,
             "Explanation: \n"
             "The source terminal is in use by another route.\n"
             "\n"
             "Source Terminal: /matrix1/ch0\n"
             "Destination Terminal: /timer1/pulse\n"
             "Possible Values: /matrix1/ch1, /matrix1/ch2\n"
             "Attribute Id: 0x000004D2\n"
             "Details\n"
             "   Component: routing service\n"
             "   File: service/routes\n"
             "   Line: 218\n"
             "   rest_of_input_json: "
             "{\"ticket\":7,\"error_constant\":\"kErrorRouteInUse\"}\n");
}

TEST(DescribeError, StatusJsonMayBeAnArgumentOrTheInput)
{
   EXPECT_THAT(describe("'{\"line\":42}'").output, StartsWith("Details\n   Line: 42\n"));
   EXPECT_THAT(describe("- < " DEMO_ERRORS "/refused_route.json").output,
               StartsWith("Explanation: \n"));
}

TEST(DescribeError, RawDescriptionIsTheTranslatorsOwn)
{
   EXPECT_THAT(describe("--raw '{\"line\":42}'").output, StartsWith("{\"dynamic\":[],\"debug\":["));
}

TEST(DescribeError, EscapesAreResolved)
{
   EXPECT_THAT(describe(R"('{"file":"a\"b\\c\t\u00e9\u2028"}')").output,
               HasSubstr("File: a\"b\\c\t\u00E9\u2028\n"));
}

TEST(DescribeError, SettingsOfTheDemoLeadToItsTexts)
{
   const std::string settings = "--settings examples/demo_errors/settings.json ";
   EXPECT_EQ(describe(settings + "-52005").output, "An argument of the call is not valid.\n");
   EXPECT_THAT(describe(settings + "-89168").output, StartsWith("The routing service"));
}

TEST(DescribeError, SettingsOfAFileTakeTheirPlace)
{
   const ScratchFolder folder;
   const std::string settings =
      folder.write("settings.json", R"({"lorvexlua_xlator":"dorvex","lorvexlua_settings":{)"
                                    R"("trvSharedErrorsDir":")" DEMO_ERRORS R"(/Errors"}})");
   EXPECT_EQ(describe("--settings " + settings + " -52006").output,
             "The resource was not found.\n");
   EXPECT_THAT(describe("--settings " + settings + " -89168").output,
               HasSubstr("not found")); // the driver's texts are not among these settings
}

TEST(DescribeError, FolderNamesMayHoldQuotes)
{
   const Outcome outcome = describe(R"(--errors 'a"b\c' -1)");
   EXPECT_TRUE(outcome.succeeded);
   EXPECT_EQ(outcome.output, "Error description not found\n");
}

TEST(DescribeError, FailureIsToldWithItsStatus)
{
   for (const char* arguments : {"'no JSON'", "--settings " DEMO_ERRORS "/refused_route.json -1"}) {
      const Outcome outcome = describe(arguments);
      EXPECT_FALSE(outcome.succeeded) << arguments;
      EXPECT_THAT(outcome.output, AllOf(StartsWith("describe_error: "), HasSubstr("-52003")));
   }
}

TEST(DescribeError, WrongUseIsToldInOneLine)
{
   for (const char* arguments : {"", "--nothing", "-x", "--language", "--language 6 -1",
                                 "--language en -1", "--language klingon -1", "--environment 4 -1",
                                 "-1 -2", "@/nowhere/file", "--settings /nowhere/file -1"})
   {
      const Outcome outcome = describe(arguments);
      EXPECT_FALSE(outcome.succeeded) << arguments;
      EXPECT_THAT(outcome.output, testing::MatchesRegex("describe_error: [^\n]+\n")) << arguments;
   }
}

} // namespace
