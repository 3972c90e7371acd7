// The tables of the code pages, and the code set of the locale.
#include "platform/code_page.h"

#include "unit/platform/converted_text.h"

#include <clocale>
#include <gmock/gmock.h>
#include <iconv.h>
#include <string>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

int convertersOpened = 0;

} // namespace

// The linker leads the calls of the program's objects here.
extern "C" iconv_t __real_iconv_open(const char* to, const char* from);
extern "C" iconv_t __wrap_iconv_open(const char* to, const char* from)
{
   ++convertersOpened;
   return __real_iconv_open(to, from);
}

TEST(CodePage, PagesThatAreNotKnownAreRefused)
{
   for (const uint32_t page : {1u, 437u, 950u, 1251u, 1253u, 54936u, 65001u, 65535u})
      EXPECT_THAT(convert(page, "a"), IsEmpty()) << page;
}

// The system may have no converter for a page, or another one than the machine that built.
TEST(CodePage, NoPageNeedsTheSystemsConverter)
{
   convertersOpened = 0;
   for (const uint32_t page : kPages)
      EXPECT_THAT(convert(page, "\xA5\xA5"), testing::Not(IsEmpty())) << page;
   EXPECT_EQ(convertersOpened, 0);
   convert(platform::kSystemCodePage, "a");
   EXPECT_GT(convertersOpened, 0) << "this test does not see the calls";
}

namespace {

// The process's locale for the time of a test.
class Locale
{
public:
   explicit Locale(const char* name)
      : isSet(std::setlocale(LC_ALL, name) != nullptr)
   {
   }
   ~Locale() { std::setlocale(LC_ALL, "C"); }
   Locale(const Locale&) = delete;
   Locale& operator=(const Locale&) = delete;

   const bool isSet;
};

} // namespace

TEST(SystemCodePage, IsTheCodeSetOfTheLocale)
{
   const Locale locale("C.UTF-8");
   ASSERT_TRUE(locale.isSet);
   EXPECT_THAT(convert(platform::kSystemCodePage, "a\xC3\xA9\xE3\x81\x82\xF0\x9F\x98\x80"),
               ElementsAre('a', 0xE9, 0x3042, 0xD83D, 0xDE00));
}

TEST(SystemCodePage, IsAsciiForAProcessThatHasSetNoLocale)
{
   EXPECT_THAT(convert(platform::kSystemCodePage, "abc"), ElementsAre('a', 'b', 'c'));
   EXPECT_THAT(convert(platform::kSystemCodePage, "\xE9"), IsEmpty());
}

TEST(SystemCodePage, RefusesWhatTheCodeSetDoesNotKnowAnywhereInALongText)
{
   const Locale locale("C.UTF-8");
   ASSERT_TRUE(locale.isSet);
   std::string text(3000, 'a');
   text += "\xC3\xA9";
   ASSERT_EQ(convert(platform::kSystemCodePage, text).size(), 3001u);
   for (const size_t position : {size_t{0}, size_t{255}, size_t{256}, size_t{1500}, text.size()}) {
      std::string spoilt = text;
      spoilt.insert(position, "\xFF");
      EXPECT_THAT(convert(platform::kSystemCodePage, spoilt), IsEmpty()) << position;
   }
   EXPECT_THAT(convert(platform::kSystemCodePage, text + "\xC3"), IsEmpty());
   EXPECT_THAT(convert(platform::kSystemCodePage, text + "\xED\xA0\x80"), IsEmpty());
}
