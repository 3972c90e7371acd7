// The example program for people at a bench, run as they run it.
#include "support/matches_pattern.h"
#include "support/program_outcome.h"
#include "support/scratch_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

struct Outcome
{
   bool succeeded;
   std::string output; // of both streams
};

using Words = std::vector<std::string>;

Outcome describe(Words words, const std::string& input = "")
{
   words.insert(words.begin(), DESCRIBE_ERROR);
   const ProgramOutcome outcome = runProgram(words, input);
   return {outcome.exitCode == 0, outcome.output};
}

// The options for files of a test's own, which tell what -52006 means in three languages.
Words optionsFor(const ScratchFolder& folder)
{
   const auto describeIn = [&](const std::string& language, const std::string& text) {
      folder.write("Errors/" + language + "/errors.err", "<?xml version=\"1.0\"?>\n<tvdocument>\n"
                                                         "<tverror code=\"-52006\">\n" +
                                                            text + "\n</tverror>\n</tvdocument>\n");
   };
   describeIn("English", "The resource was not found.");
   describeIn("French", "La ressource n'a pas \xE9t\xE9 trouv\xE9"
                        "e.");
   describeIn("Japanese", "\x83\x47\x83\x89\x81\x5B");
   return {"--errors", folder.path("Errors")};
}

Words operator+(Words words, const Words& more)
{
   words.insert(words.end(), more.begin(), more.end());
   return words;
}

TEST(DescribeError, HelpTellsTheUse)
{
   const Outcome outcome = describe({"--help"});
   EXPECT_TRUE(outcome.succeeded);
   EXPECT_THAT(outcome.output, StartsWith("Usage: describe_error"));
}

TEST(DescribeError, BareCodeIsDescribed)
{
   const ScratchFolder folder;
   const Words options = optionsFor(folder);
   EXPECT_EQ(describe(options + Words{"-52006"}).output, "The resource was not found.\n");
   EXPECT_EQ(describe(options + Words{"0xFFFF34DA"}).output, "The resource was not found.\n");
   EXPECT_EQ(describe(options + Words{"--language", "french", "-52006"}).output,
             "La ressource n'a pas \u00E9t\u00E9 trouv\u00E9e.\n");
   EXPECT_EQ(describe(options + Words{"--language", "3", "-52006"}).output, "\u30A8\u30E9\u30FC\n");
}

TEST(DescribeError, LibrarysOwnCodeIsToldInAllLanguages)
{
   const Outcome outcome =
      describe({"--errors", std::string(TEXTS_ROOT) + "/zerova", "--aux", TEXTS_ROOT, "--driver",
                "zerova", "--all-languages", "-89168"});
   EXPECT_TRUE(outcome.succeeded);
   EXPECT_THAT(
      outcome.output,
      ContainsPattern(
         "^English\n   The routing service[\\s\\S]*\nFrench\n   Le service de routage[\\s\\S]*"
         "\nGerman\n   Der Routingdienst[\\s\\S]*"
         "\nJapanese\n   \u30EB\u30FC\u30C6\u30A3\u30F3\u30B0[\\s\\S]*"
         "\nKorean\n   \uB77C\uC6B0\uD305[\\s\\S]*"
         "\nChinese\n   \u65E0\u6CD5\u8FDE\u63A5"));
}

TEST(DescribeError, StatusJsonIsShownAsLines)
{
   EXPECT_EQ(describe({"@" EXAMPLES "/refused_route.json"}).output,
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
   EXPECT_THAT(describe({R"({"line":42})"}).output, StartsWith("Details\n   Line: 42\n"));
   EXPECT_THAT(describe({"-"}, EXAMPLES "/refused_route.json").output,
               StartsWith("Explanation: \n"));
}

TEST(DescribeError, RawDescriptionIsTheTranslatorsOwn)
{
   EXPECT_THAT(describe({"--raw", R"({"line":42})"}).output,
               StartsWith("{\"dynamic\":[],\"debug\":["));
}

TEST(DescribeError, EscapesAreResolved)
{
   EXPECT_THAT(describe({R"({"file":"a\"b\\c\t\u00e9\u2028"})"}).output,
               HasSubstr("File: a\"b\\c\t\u00E9\u2028\n"));
}

TEST(DescribeError, SettingsOfAFileTakeTheirPlace)
{
   const ScratchFolder folder;
   optionsFor(folder); // for its files
   const std::string settings =
      folder.write("settings.json", R"({"lorvexlua_xlator":"dorvex","lorvexlua_settings":{)"
                                    R"("trvSharedErrorsDir":")" +
                                       folder.path("Errors") + R"("}})");
   EXPECT_EQ(describe({"--settings", settings, "-52006"}).output, "The resource was not found.\n");
   EXPECT_THAT(describe({"--settings", settings, "-89168"}).output,
               HasSubstr("not found")); // the library's own texts are not among these settings
}

TEST(DescribeError, FolderNamesMayHoldQuotes)
{
   const Outcome outcome = describe({"--errors", R"(a"b\c)", "-1"});
   EXPECT_TRUE(outcome.succeeded);
   EXPECT_EQ(outcome.output, "Error description not found\n");
}

TEST(DescribeError, FailureIsToldWithItsStatus)
{
   for (const Words& words :
        {Words{"no JSON"}, Words{"--settings", EXAMPLES "/refused_route.json", "-1"}})
   {
      const Outcome outcome = describe(words);
      EXPECT_FALSE(outcome.succeeded) << testing::PrintToString(words);
      EXPECT_THAT(outcome.output, AllOf(StartsWith("describe_error: "), HasSubstr("-52003")));
   }
}

TEST(DescribeError, WrongUseIsToldInOneLine)
{
   const std::vector<Words> wrong = {{},
                                     {"--nothing"},
                                     {"-x"},
                                     {"--language"},
                                     {"--language", "6", "-1"},
                                     {"--language", "en", "-1"},
                                     {"--language", "klingon", "-1"},
                                     {"--environment", "4", "-1"},
                                     {"-1", "-2"},
                                     {"@/nowhere/file"},
                                     {"--settings", "/nowhere/file", "-1"}};
   for (const Words& words : wrong) {
      const Outcome outcome = describe(words);
      EXPECT_FALSE(outcome.succeeded) << testing::PrintToString(words);
      EXPECT_THAT(outcome.output, MatchesPattern("describe_error: [^\n]+\n"))
         << testing::PrintToString(words);
   }
}

} // namespace
