// Failures in words.
#include "support/failing_malloc.h"
#include "zerovaapi.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace {

using testing::HasSubstr;
using testing::StartsWith;
using zerovaapi::Environment;
using zerovaapi::Error;
using zerovaapi::Language;
using zerovaapi::Session;
using zerovaapi::Status;
using zerovaapi::Translator;

class CppTranslator : public testing::Test
{
protected:
   Translator translator{Translator::settingsFor(TEXTS_ROOT)};
};

TEST_F(CppTranslator, DescribesACodeInEachLanguage)
{
   EXPECT_THAT(translator.describe(-89168, Language::german).str(),
               StartsWith("Der Routingdienst"));
   for (const Language language : {Language::english, Language::french, Language::german,
                                   Language::japanese, Language::korean, Language::chinese})
      EXPECT_NE(translator.describe(-89168, language).str(),
                translator.describe(-52005, language).str());
}

TEST_F(CppTranslator, GivesUtf8)
{
   EXPECT_THAT(translator
                  .details(R"({"translator_info":{"ordered_data":[)"
                           R"({"type":"usage","usage":"kUsageTypeDevice","value":"dev1"}]}})",
                           Language::german)
                  .str(),
               HasSubstr("\"Ger\xC3\xA4t\""));
}

TEST_F(CppTranslator, DescribesAStatusAndAnError)
{
   Status failed;
   Session().isDebug(failed);
   EXPECT_EQ(translator.describe(failed, Language::german).str(),
             translator.describe(-52005, Language::german).str());
   EXPECT_THAT(translator.details(failed, Language::english).str(), HasSubstr("is closed"));
   const Error error(failed);
   EXPECT_EQ(translator.describe(error, Language::german).str(),
             translator.describe(failed, Language::german).str());
   EXPECT_THAT(translator.details(error, {Language::german, Environment::brask}).str(),
               HasSubstr("is closed"));
}

TEST_F(CppTranslator, HasNoDetailsOfAStatusWithoutText)
{
   Status own;
   EXPECT_FALSE(translator.details(Status(), Language::german, own));
   EXPECT_FALSE(own.failed());
}

TEST_F(CppTranslator, TextThatIsNoJsonIsAFailureOfItsOwn)
{
   Status own;
   EXPECT_FALSE(translator.details("no JSON", Language::german, own));
   EXPECT_EQ(own.code(), -52003);
   EXPECT_THROW(translator.details("no JSON", Language::german), Error);
   EXPECT_THAT(translator.describe(-89168, Language::german).str(), StartsWith("Der"));
}

const std::string kNoRest = "debug rest_of_input_json: {}\n";

std::string inLines(const zerovaapi::DetailRows& rows)
{
   std::ostringstream out;
   for (const auto row : rows)
      out << (row.isDebug() ? "debug " : "") << row << '\n';
   return out.str();
}

TEST_F(CppTranslator, RowsHaveHeadingAndValues)
{
   const zerovaapi::DetailRows rows = translator.detailRows(
      R"({"component":"c","translator_info":{"ordered_data":[)"
      R"({"type":"usage","usage":"kUsageTypeDevice","value":["dev1","dev2"]},)"
      R"({"type":"empty"},{"type":"elaboration","usage":"a line"}]}})",
      Language::german);
   const auto first = *rows.begin();
   EXPECT_EQ(first.heading(), "Ger\xC3\xA4t");
   const zerovaapi::DetailValues values = first.values();
   EXPECT_THAT(std::vector<zerovaapi::Text>(values.begin(), values.end()),
               testing::ElementsAre("dev1", "dev2"));
   EXPECT_EQ(values.begin()->str(), "dev1");
   EXPECT_EQ(inLines(rows), "Ger\xC3\xA4t: dev1, dev2\n\na line\ndebug Component: c\n" + kNoRest);
}

TEST_F(CppTranslator, RowsAreReadWithoutTheEscapesOfJson)
{
   const auto read = [&](const std::string& line) {
      const std::string json =
         R"({"translator_info":{"ordered_data":[{"type":"elaboration","usage":")" + line + "\"}]}}";
      const zerovaapi::DetailRows rows = translator.detailRows(json, Language::english);
      std::ostringstream out;
      out << *rows.begin();
      return out.str();
   };
   EXPECT_EQ(read(R"(a\"b\\c\/d\n)"), "a\"b\\c/d\n");
   EXPECT_EQ(read(R"(\u00e9\ud83d\ude00)"), "\xC3\xA9\xF0\x9F\x98\x80");
   EXPECT_EQ(read(R"(\u0001\u007f)"), "\x01\x7F");
   EXPECT_EQ(read(R"(\u0000!)"), "\xEF\xBF\xBD!");
}

TEST_F(CppTranslator, RowsOfMembersThatAreNoTextsAreShownAsTheyAreWritten)
{
   EXPECT_EQ(
      inLines(translator.detailRows(R"({"component":{"a":[1,2]},"line":42})", Language::english)),
      "debug Component: {\"a\":[1,2]}\ndebug Line: 42\n" + kNoRest);
   EXPECT_EQ(inLines(translator.detailRows(R"({"component":[],"line":42})", Language::english)),
             "debug Component: \ndebug Line: 42\n" + kNoRest);
}

TEST_F(CppTranslator, RowsOfATextThatIsNoJsonAreTheText)
{
   EXPECT_EQ(inLines(translator.detailRows("no JSON", Language::german)), "no JSON\n");
   EXPECT_EQ(inLines(translator.detailRows("{\"a\":", Language::german)), "{\"a\":\n");
}

TEST_F(CppTranslator, RowsOfAStatusAndAnErrorAreTheSame)
{
   Status failed;
   Session().isDebug(failed);
   const std::string shown = inLines(translator.detailRows(failed, Language::english));
   EXPECT_THAT(shown, HasSubstr("is closed"));
   EXPECT_EQ(inLines(translator.detailRows(Error(failed), Language::english)), shown);
   EXPECT_TRUE(translator.detailRows(Status(), Language::english).empty());
}

TEST_F(CppTranslator, RowsAreMovedAndEmptyWhereTheyAreGone)
{
   zerovaapi::DetailRows rows = translator.detailRows("no JSON", Language::german);
   const zerovaapi::DetailRows taken = std::move(rows);
   EXPECT_EQ(inLines(taken), "no JSON\n");
   EXPECT_TRUE(rows.empty()); // NOLINT(bugprone-use-after-move)
}

TEST_F(CppTranslator, RowsTellWhatFailsToAStatusOrThrowIt)
{
   const Translator taken = std::move(translator);
   Translator& none = translator; // NOLINT(bugprone-use-after-move)
   Status own;
   EXPECT_TRUE(none.detailRows("{}", Language::german, own).empty());
   EXPECT_EQ(own.code(), -52005);
   EXPECT_THROW(none.detailRows("{}", Language::german), Error);
}

TEST_F(CppTranslator, RowsWithoutMemoryFailAndWorkAgain)
{
   Status own;
   zerovaapi::DetailRows rows;
   forEachFailingAllocation(
      FailingMalloc::Then::failAlways,
      [&](size_t) {
         own.clear();
         rows = translator.detailRows(R"({"line":42})", Language::english, own);
      },
      [&](size_t index) { EXPECT_TRUE(own.failed()) << index; });
   EXPECT_FALSE(own.failed());
   EXPECT_EQ(inLines(rows), "debug Line: 42\n" + kNoRest);
}

TEST_F(CppTranslator, ThatWasMovedFromFailsAndIsNoCrash)
{
   Translator taken = std::move(translator);
   EXPECT_TRUE(taken.describe(-89168, Language::german));
   EXPECT_FALSE(translator); // NOLINT(bugprone-use-after-move)
   EXPECT_THROW(translator.describe(-89168, Language::german), Error);
   EXPECT_THROW(translator.details("{}", Language::german), Error);
}

TEST_F(CppTranslator, TextIsPrintedAndMovedAndEmptyWhereItIsGone)
{
   zerovaapi::OwnedText text = translator.describe(-89168, Language::english);
   zerovaapi::OwnedText taken = std::move(text);
   std::ostringstream out;
   out << taken;
   EXPECT_EQ(out.str(), taken.c_str());
   EXPECT_STREQ(text.c_str(), ""); // NOLINT(bugprone-use-after-move)
   text = std::move(taken);
   EXPECT_EQ(std::string_view(text), out.str());
   EXPECT_EQ(zerovaapi::Text(text), out.str());
}

TEST_F(CppTranslator, WithoutMemoryForATextFailsAndWorksAgain)
{
   int32_t code = 0;
   forEachFailingAllocation(
      FailingMalloc::Then::failAlways,
      [&](size_t) {
         Status own;
         translator.describe(-89168, Language::german, own);
         code = own.code();
      },
      [&](size_t index) { EXPECT_NE(code, 0) << index; });
   EXPECT_EQ(code, 0);
}

TEST(CppTranslatorSettings, ThatAreNoneAreRefused)
{
   EXPECT_THROW(Translator("no JSON"), Error);
   Status status;
   const Translator translator("{}", status);
   EXPECT_FALSE(translator);
   EXPECT_TRUE(status.failed());
   const char* const none = nullptr;
   EXPECT_THROW(Translator{none}, Error);
}

TEST(CppTranslatorSettings, FolderIsQuoted)
{
   EXPECT_THAT(Translator::settingsFor("C:\\a\"b\n"),
               HasSubstr(R"("AuxErrorsDir":"C:\\a\"b\u000A")"));
}

TEST(CppTranslatorSettings, WithoutMemoryForTheTranslatorAreAFailure)
{
   const std::string settings = Translator::settingsFor(TEXTS_ROOT);
   Status status;
   {
      const FailingMalloc failing(0, FailingMalloc::Then::failAlways);
      const Translator translator(settings, status);
   }
   EXPECT_EQ(status.code(), zerovaapi::kOutOfMemory);
}

} // namespace
