#include "lorvex/languages.h"

#include "support/owned.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>

namespace {

using testing::EndsWith;
using testing::StartsWith;

TEST(Languages, EachHasAFolderASelectorAndACodePage)
{
   struct Row
   {
      const char* folder;
      uint32_t selector;
      uint32_t codePage;
   };
   constexpr Row kRows[] = {
      {"English", 1, 1252}, {"French", 2, 1252}, {"German", 3, 1252},
      {"Japanese", 4, 932}, {"Korean", 5, 949},  {"ChineseS", 6, 936},
   };
   int32_t lang = 0;
   OwnedStatus status;
   for (const Row& row : kRows) {
      EXPECT_STREQ(lorvex_convertLangToDir(lang, &status), row.folder);
      EXPECT_EQ(lorvex_langToCodePageSelector(lang, &status), row.selector);
      EXPECT_EQ(lorvex_selectorToCodePage(row.selector), row.codePage);
      ++lang;
   }
   EXPECT_EQ(status.code, 0);
}

TEST(Languages, SelectorsThatBelongToNoLanguage)
{
   EXPECT_EQ(lorvex_selectorToCodePage(0), kSystemCodePage);
   EXPECT_EQ(lorvex_selectorToCodePage(7), 65535u);
   EXPECT_EQ(lorvex_selectorToCodePage(UINT32_MAX), 65535u);
}

TEST(Languages, IndexOutsideTheTableIsAnInvalidParameterWithTheWholeDocument)
{
   for (const int32_t lang : {6, 9, 77, 255, -1, INT_MAX, INT_MIN}) {
      const std::string tail = R"(,"component":"zerovaapi","lorvex_debug":)"
                               R"({"xmerrorsparser":"invalid language","lang":)" +
                               std::to_string(lang) + "}}";
      OwnedStatus folder;
      EXPECT_STREQ(lorvex_convertLangToDir(lang, &folder), "");
      EXPECT_EQ(folder.code, -52005);
      EXPECT_THAT(folder.text(), StartsWith(R"({"error_constant":"tamrixerr_invalidParameter",)"
                                            R"("file":"lorvex/xmErrorsParser","line":)"));
      EXPECT_THAT(folder.text(), EndsWith(tail));

      OwnedStatus selector;
      EXPECT_EQ(lorvex_langToCodePageSelector(lang, &selector), 1u);
      EXPECT_EQ(selector.code, -52005);
      EXPECT_THAT(selector.text(), StartsWith(R"({"error_constant":"tamrixerr_invalidParameter",)"
                                              R"("file":"lorvex/utils_mbs","line":)"));
      EXPECT_THAT(selector.text(), EndsWith(tail));
   }
}

TEST(Languages, EarlierErrorStaysAndGivesTheNeutralResults)
{
   OwnedStatus status(-1);
   EXPECT_STREQ(lorvex_convertLangToDir(3, &status), "");
   EXPECT_EQ(lorvex_langToCodePageSelector(3, &status), 1u);
   EXPECT_STREQ(lorvex_convertLangToDir(9, &status), "");
   EXPECT_EQ(lorvex_langToCodePageSelector(9, &status), 1u);
   EXPECT_EQ(status.code, -1);
   EXPECT_EQ(status.json, nullptr);
}

TEST(Languages, WarningIsKeptByAnIndexAndReplacedByAWrongOne)
{
   OwnedStatus status(4);
   EXPECT_STREQ(lorvex_convertLangToDir(5, &status), "ChineseS");
   EXPECT_EQ(status.code, 4);
   lorvex_convertLangToDir(6, &status);
   EXPECT_EQ(status.code, -52005);
}

} // namespace
