#include "exports/translator_from_c.h"
#include "support/matches_pattern.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

namespace {

using testing::EndsWith;

struct Outcome
{
   bool exists;
   int32_t code;
   std::string text;
};

Outcome create(const char* name, const char* registrationInfo)
{
   char text[4096];
   int32_t code = 0;
   const bool exists = createFromC(name, registrationInfo, &code, text, sizeof text);
   return {exists, code, text};
}

TEST(ExportedCreate, UnknownNameIsToldWithTheWholeDocument)
{
   const Outcome outcome = create("wrong", "{}");
   EXPECT_FALSE(outcome.exists);
   EXPECT_EQ(outcome.code, -52005);
   EXPECT_THAT(outcome.text,
               MatchesPattern(R"(\{"error_constant":"tamrixerr_invalidParameter",)"
                              R"("file":"lorvex/exported","line":[0-9]+,"component":"zerovaapi",)"
                              R"("lorvex_debug":\{"lorvex_exported":"could not find xlator",)"
                              R"("name":"wrong","registrationInfo":"\{\}"\}\})"));
}

TEST(ExportedCreate, NamesOfOtherCaseAndOfTheDefaultTranslatorAreUnknown)
{
   for (const char* name : {"Dorvex_zerova", "DORVEX_ZEROVA", "dorvex_zerova ", "lorvex_default"}) {
      const Outcome outcome = create(name, "{}");
      EXPECT_FALSE(outcome.exists) << name;
      EXPECT_EQ(outcome.code, -52005) << name;
   }
}

TEST(ExportedCreate, QuotesOfTheTextsAreEscaped)
{
   EXPECT_THAT(create("a\"b", "{\"c\":1}").text,
               EndsWith(R"("name":"a\"b","registrationInfo":"{\"c\":1}"}})"));
}

TEST(ExportedCreate, ErrorInTheStatusStopsItAndStays)
{
   quelerr_Status status;
   quelerr_heapStatus_init(&status);
   status.code = -5;
   EXPECT_EQ(lorvex_exported_create(nullptr, nullptr, &status), nullptr);
   EXPECT_EQ(status.code, -5);
   EXPECT_EQ(status.json, nullptr);
}

TEST(ExportedCreate, WarningInTheStatusIsReplacedByTheFailure)
{
   quelerr_Status status;
   quelerr_heapStatus_init(&status);
   status.code = 5;
   EXPECT_EQ(lorvex_exported_create("wrong", "{}", &status), nullptr);
   EXPECT_EQ(status.code, -52005);
   quelerr_heapStatus_release(&status);
}

TEST(ExportedCreate, StatusThatRefusesItsBufferKeepsTheCode)
{
   quelerr_Status status{0, 0, [](quelerr_Status*, uint32_t) { return false; }, nullptr};
   EXPECT_EQ(lorvex_exported_create("wrong", "{}", &status), nullptr);
   EXPECT_EQ(status.code, -52005);
   EXPECT_EQ(status.json, nullptr);
}

TEST(ExportedCreate, ManyThreadsMayAskAtOnce)
{
   std::vector<Outcome> outcomes(8);
   std::vector<std::thread> threads;
   for (Outcome& outcome : outcomes)
      threads.emplace_back([&outcome] {
         for (int i = 0; i < 200; ++i)
            outcome = create("wrong", "{}");
      });
   for (std::thread& thread : threads)
      thread.join();
   for (const Outcome& outcome : outcomes) {
      EXPECT_EQ(outcome.code, -52005);
      EXPECT_EQ(outcome.text, outcomes[0].text);
   }
}

} // namespace
