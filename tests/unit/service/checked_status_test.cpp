#include "service/checked_status.h"

#include "service/json_check.h"

#include <gmock/gmock.h>
#include <gtest/gtest-spi.h>

#include <cstring>

namespace zerova::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

TEST(CheckedStatus, GivesExactlyWhatIsAskedFor)
{
   CheckedStatus status;
   ASSERT_TRUE(status->resize(status, 9));
   EXPECT_EQ(status->capacity, 9U);
   EXPECT_EQ(status.json(), "{}");
   EXPECT_EQ(status->json[8], 'J');
   EXPECT_EQ(status.growCalls(), 1);
}

TEST(CheckedStatus, KeepsTheTextWhenItGrows)
{
   CheckedStatus status(-5, R"({"a":1})");
   ASSERT_TRUE(status->resize(status, 100));
   EXPECT_EQ(status.json(), R"({"a":1})");
   EXPECT_EQ(status.code(), -5);
   EXPECT_THAT(status.takeFaults(), IsEmpty());
}

TEST(CheckedStatus, RefusesFromTheNthCall)
{
   CheckedStatus status;
   status.refuseFrom(2);
   EXPECT_TRUE(status->resize(status, 10));
   EXPECT_FALSE(status->resize(status, 20));
   EXPECT_FALSE(status->resize(status, 20));
   EXPECT_EQ(status->capacity, 10U);
}

TEST(CheckedStatus, RefusesTheNthCallAlone)
{
   CheckedStatus status;
   status.refuseOnly(1);
   EXPECT_FALSE(status->resize(status, 10));
   EXPECT_TRUE(status->resize(status, 10));
}

TEST(CheckedStatus, GivesTheBufferBackForZero)
{
   CheckedStatus status(0, "{}");
   ASSERT_TRUE(status->resize(status, 0));
   EXPECT_FALSE(status.hasText());
   EXPECT_EQ(status->capacity, 0U);
}

TEST(CheckedStatus, SeesEachBrokenPromiseAboutTheBuffer)
{
   CheckedStatus status(0, R"({"a":1})");
   ASSERT_TRUE(status->resize(status, 32));
   status->json[20] = 'x';
   EXPECT_THAT(status.takeFaults(), ElementsAre(HasSubstr("not zero")));
   status->json[20] = '\0';
   status->json[31] = '\0';
   EXPECT_THAT(status.takeFaults(), ElementsAre(HasSubstr("no sentinel")));
   status->json[31] = 'J';
   status->json[6] = ',';
   EXPECT_THAT(status.takeFaults(), ElementsAre(HasSubstr("does not parse")));
   status.allowAnyText();
   EXPECT_THAT(status.takeFaults(), IsEmpty());
   std::memset(status->json, 'y', 32);
   EXPECT_THAT(status.takeFaults(), ElementsAre(HasSubstr("no terminator")));
   ASSERT_TRUE(status->resize(status, 0));
   status->capacity = 5;
   EXPECT_THAT(status.takeFaults(),
               ElementsAre(HasSubstr("when resize was called"), HasSubstr("without a buffer")));
   status->capacity = 0;
}

void breakAStatus()
{
   CheckedStatus status(0, "{}");
   status->json[0] = 'x';
}

TEST(CheckedStatus, FailsTheTestWhenItIsDestroyedBroken)
{
   EXPECT_NONFATAL_FAILURE(breakAStatus(), "does not parse");
}

TEST(JsonCheck, AcceptsDocuments)
{
   for (const char* text :
        {"{}", "[]", " { } ", R"({"a":1})",
         R"({"a":[1,-0.5e+3,true,false,null,"\u00e4\n"],"b":{}})", "[\"\xC3\xA4\"]", "[[],[[]]]"})
      EXPECT_TRUE(isJsonDocument(text)) << text;
}

TEST(JsonCheck, RefusesWhatIsNoDocument)
{
   for (const char* text : {"",          "1",
                            "\"a\"",     "{",
                            "{]",        "{}x",
                            "{}{}",      R"({"a":1,})",
                            "[1,]",      R"({"a"})",
                            R"({"a":1)", R"({a:1})",
                            R"(["\q"])", R"(["\u12g4"])",
                            "[\"\n\"]",  "[01]",
                            "[1.]",      "[-]",
                            "[1e+]",     "[+1]",
                            "[tru]",     "[\"a]",
                            "[,1]",      R"({"a":,"b":1})"})
      EXPECT_FALSE(isJsonDocument(text)) << text;
}

} // namespace
} // namespace zerova::test
