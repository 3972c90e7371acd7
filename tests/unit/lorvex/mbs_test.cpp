#include "lorvex/utils_mbs.h"

#include "support/failing_malloc.h"
#include "support/other_locale.h"
#include "support/owned.h"

#include <clocale>
#include <gmock/gmock.h>
#include <string>

namespace {

// Selectors.
constexpr uint32_t kSystem = 0;
constexpr uint32_t kEnglish = 1;
constexpr uint32_t kJapanese = 4;
constexpr uint32_t kKorean = 5;
constexpr uint32_t kChinese = 6;

struct Conversion
{
   int32_t result;
   std::string text;

   friend bool operator==(const Conversion&, const Conversion&) = default;
   friend std::ostream& operator<<(std::ostream& out, const Conversion& conversion)
   {
      return out << conversion.result << ", \"" << conversion.text << '"';
   }
};

Conversion convert(const char* text, uint32_t selector)
{
   OwnedString string("> ");
   OwnedStatus status;
   const int32_t result = lorvex_mbsToUtf8(text, selector, {&string, &status});
   EXPECT_EQ(status.code, 0) << "a refused text is the caller's to report";
   return {result, string.text()};
}

Conversion refused()
{
   return {-52027, "> "};
}

} // namespace

TEST(MbsToUtf8, AppendsTheTextAsUtf8)
{
   EXPECT_EQ(convert("caf\xE9 \x80", kEnglish), (Conversion{0, "> caf\u00E9 \u20AC"}));
   EXPECT_EQ(convert("\x93\xFA\x96\x7B a \xB1", kJapanese),
             (Conversion{0, "> \u65E5\u672C a \uFF71"}));
   EXPECT_EQ(convert("\xC7\xD1\xB1\xDB", kKorean), (Conversion{0, "> \uD55C\uAE00"}));
   EXPECT_EQ(convert("\xD6\xD0\xCE\xC4", kChinese), (Conversion{0, "> \u4E2D\u6587"}));
}

TEST(MbsToUtf8, EveryLanguageHasItsCodePage)
{
   // One text, six readings: the first three languages share a code page.
   const char* const readings[] = {"\u00B0\u00A1", "\u00B0\u00A1", "\u00B0\u00A1",
                                   "\uFF70\uFF61", "\uAC00",       "\u554A"};
   for (uint32_t selector = 1; selector <= 6; ++selector)
      EXPECT_EQ(convert("\xB0\xA1", selector),
                (Conversion{0, std::string("> ") + readings[selector - 1]}));
}

TEST(MbsToUtf8, NoTextAddsNothingWhateverTheSelector)
{
   for (const uint32_t selector : {kSystem, kEnglish, kJapanese, 7u, 99u}) {
      EXPECT_EQ(convert(nullptr, selector), (Conversion{0, "> "}));
      EXPECT_EQ(convert("", selector), (Conversion{0, "> "}));
   }
}

TEST(MbsToUtf8, AsciiStandsAsItIsWhateverTheSelector)
{
   for (const uint32_t selector : {kSystem, kEnglish, kJapanese, 7u, 99u})
      EXPECT_EQ(convert("plain \\~\x7F\x01", selector), (Conversion{0, "> plain \\~\x7F\x01"}));
}

TEST(MbsToUtf8, ATextWithABadSequenceIsRefusedWhole)
{
   EXPECT_EQ(convert("good \x93\xFA bad \xFF", kJapanese), refused());
   EXPECT_EQ(convert("good \x93\xFA cut \x96", kJapanese), refused());
   EXPECT_EQ(convert("\x81\xAD good", kJapanese), refused());
   EXPECT_EQ(convert("\xB0\xFF", kKorean), refused());
   EXPECT_EQ(convert("\xA1\x7F", kChinese), refused());
}

TEST(MbsToUtf8, WithoutACodePageEveryOtherTextIsRefused)
{
   EXPECT_EQ(convert("\xE9", 7), refused());
   EXPECT_EQ(convert("\xE9", UINT32_MAX), refused());
}

TEST(MbsToUtf8, TheFirstSelectorIsTheLocale)
{
   EXPECT_EQ(convert("caf\xC3\xA9", kSystem), refused()) << "no locale is set";
   ASSERT_TRUE(std::setlocale(LC_ALL, "C.UTF-8"));
   EXPECT_EQ(convert("caf\xC3\xA9 \xF0\x9F\x98\x80", kSystem),
             (Conversion{0, "> caf\u00E9 \U0001F600"}));
   EXPECT_EQ(convert("caf\xE9", kSystem), refused());
   std::setlocale(LC_ALL, "C");
}

TEST(MbsToUtf8, DoesNotDependOnTheLocale)
{
   const ProcessLocale other(OtherLocale::german);
   EXPECT_EQ(convert("\x93\xFA", kJapanese), (Conversion{0, "> \u65E5"}));
   EXPECT_STREQ(std::setlocale(LC_ALL, nullptr), nameOf(OtherLocale::german));
}

TEST(MbsToUtf8, WithAnErrorInTheStatusAddsNothing)
{
   OwnedString string("> ");
   OwnedStatus status(-1);
   EXPECT_EQ(lorvex_mbsToUtf8("plain", kEnglish, {&string, &status}), 0);
   EXPECT_EQ(lorvex_mbsToUtf8("\xE9", kEnglish, {&string, &status}), 0);
   EXPECT_EQ(string.text(), "> ");
   EXPECT_EQ(status.code, -1);
}

TEST(MbsToUtf8, WithoutMemoryForTheWideTextTellsSoAndLeavesTheStatus)
{
   convert("\x93\xFA", kJapanese); // from here on the code page needs no memory
   OwnedString string("> ");
   OwnedStatus status;
   int32_t result = 0;
   {
      const FailingMalloc failing(0);
      result = lorvex_mbsToUtf8("\x93\xFA", kJapanese, {&string, &status});
   }
   EXPECT_EQ(result, -52000);
   EXPECT_EQ(status.code, 0);
   EXPECT_EQ(string.text(), "> ");
}

TEST(MbsToUtf8, ABadTextIsRefusedBeforeMemoryIsAskedFor)
{
   convert("\x93\xFA", kJapanese);
   OwnedString string;
   OwnedStatus status;
   int32_t result = 0;
   size_t allocations = 0;
   {
      const FailingMalloc failing(0);
      result = lorvex_mbsToUtf8("\x93\xFF", kJapanese, {&string, &status});
      allocations = failing.count();
   }
   EXPECT_EQ(result, -52027);
   EXPECT_EQ(allocations, 0u);
}

TEST(MbsToUtf8, WithoutMemoryForTheResultTheSinkHasTheFailureAndItsOldText)
{
   convert("\x93\xFA", kJapanese);
   std::string text;
   for (int i = 0; i < 1000; ++i)
      text += "\x93\xFA";
   OwnedString string("> ");
   OwnedStatus status;
   int32_t result = 1;
   {
      const FailingMalloc failing(1);
      result = lorvex_mbsToUtf8(text.c_str(), kJapanese, {&string, &status});
   }
   EXPECT_EQ(result, 0);
   EXPECT_EQ(status.code, -52000);
   EXPECT_EQ(string.text(), "> ");
}
