#include "lorvex/default_translator.h"

#include "error_files.h"
#include "support/failing_malloc.h"
#include "support/nothing_left.h"
#include "support/scratch_folder.h"
#include "support/settings_tree.h"

#include <cstring>
#include <gmock/gmock.h>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace {

using testing::AnyOf;
using testing::HasSubstr;

constexpr uint32_t kNotFound = static_cast<uint32_t>(-52006);

// Stands in for a host's heap and notes what is asked of it.
struct Host
{
   std::optional<std::string> block;
   size_t calls = 0;
   size_t length = 0;
   void* nullBlock = nullptr;
   int32_t statusCode = 0;
   int32_t failure = 0; // put into the status instead of giving memory

   static char* allocate(void* nullBlock, size_t length, void* context, quelerr_Status* status)
   {
      Host& host = *static_cast<Host*>(context);
      ++host.calls;
      host.nullBlock = nullBlock;
      host.length = length;
      host.statusCode = status->code;
      if (host.failure) {
         quelerr_Status_setCode(status, host.failure);
         return nullptr;
      }
      if (!host.block) host.block.emplace();
      host.block->assign(length, '#');
      return host.block->data();
   }
};

struct Description
{
   std::optional<std::string> text; // none: null was returned
   int32_t code;
   std::string json; // with the line of the reporting site as 0

   friend bool operator==(const Description&, const Description&) = default;
   friend std::ostream& operator<<(std::ostream& out, const Description& description)
   {
      return out << (description.text ? '"' + *description.text + '"' : "null") << ", code "
                 << description.code << ", " << description.json;
   }
};

Description described(const std::string& text)
{
   return {text, 0, ""};
}

Description undescribed(int32_t code, int32_t ade = 0)
{
   return {std::nullopt, -52006,
           R"({"error_constant":"tamrixerr_resourceNotFound","file":"lorvex/lorvex","line":0,)"
           R"("component":"zerovaapi","lorvex_debug":{"lorvex_defaultTranslator":)"
           R"("couldn't find description for code","code":)" +
              std::to_string(code) + R"(,"lang":0,"ade":)" + std::to_string(ade) + "}}"};
}

// The search's own failure, as it comes out of the translator.
Description from(const Search& failure)
{
   return {std::nullopt, failure.code, failure.json};
}

class DefaultTranslator : public testing::Test
{
protected:
   DefaultTranslator()
   {
      settings_.addValue(SettingsTree::View::of32Bit, "SOFTWARE/Trevanta/Common/Installer",
                         "TRVSHAREDDIR", folder_.path() + "\\\n");
      folder_.makeFolder("Errors/English");
   }

   // name: a file below the errors folder.
   void write(const std::string& name, const std::string& content) const
   {
      folder_.write("Errors/" + name, content);
   }

   Description describe(uint32_t code, uint32_t langAndAde, int32_t heldCode = 0)
   {
      host_.block.emplace().reserve(100000); // which is not to count below
      OwnedStatus status(heldCode);
      char* const text = askFor(code, langAndAde, &status);
      EXPECT_TRUE(!text || host_.length == std::strlen(text) + 1);
      Description description{text ? std::optional<std::string>(text) : std::nullopt, status.code,
                              withoutLine(status.text())};
      expectThatNothingIsLeftBy(code, langAndAde, heldCode);
      return description;
   }

   // Asks once more, so that what is made once for the process is there.
   void expectThatNothingIsLeftBy(uint32_t code, uint32_t langAndAde, int32_t heldCode)
   {
      const size_t calls = host_.calls;
      {
         const NoDescriptorLeft noDescriptor;
         const NoBlockLeft noBlock;
         OwnedStatus status(heldCode);
         askFor(code, langAndAde, &status);
      }
      host_.calls = calls;
   }

   char* askFor(uint32_t code, uint32_t langAndAde, quelerr_Status* status)
   {
      lorvex_Translator* const translator =
         lorvex_defaultTranslator_create("any name", "any text", status);
      return translator ? translator->getStaticDesc(translator, code, langAndAde, Host::allocate,
                                                    &host_, status)
                        : nullptr;
   }

   const ScratchFolder folder_;
   SettingsTree settings_;
   Host host_;
};

} // namespace

TEST_F(DefaultTranslator, DescribesACode)
{
   write("English/a.txt", document(entry(-52006, "The resource was not found.")));
   EXPECT_EQ(describe(kNotFound, 0), described("The resource was not found."));
   EXPECT_EQ(host_.calls, 1u);
   EXPECT_EQ(host_.nullBlock, nullptr);
}

TEST_F(DefaultTranslator, ATextOfTheLanguageIsPreferred)
{
   write("German/a.txt", document(entry(1, "eins")));
   write("English/a.txt", document(entry(1, "one")));
   write("a.txt", document(entry(1, "common")));
   EXPECT_EQ(describe(1, 2), described("eins"));
   EXPECT_EQ(describe(1, 0), described("one"));
}

TEST_F(DefaultTranslator, ACodeInTheErrorsFolderItselfIsFoundFromAnyLanguage)
{
   for (const char* language : {"French", "German", "Japanese", "Korean", "ChineseS"})
      folder_.makeFolder(std::string("Errors/") + language);
   write("a.txt", document(entry(1, "common")));
   for (uint32_t lang = 0; lang <= 5; ++lang)
      EXPECT_EQ(describe(1, lang), described("common"));
}

TEST_F(DefaultTranslator, TheErrorsFolderComesBeforeEnglishForAnotherLanguage)
{
   folder_.makeFolder("Errors/German");
   write("English/a.txt", document(entry(1, "one")));
   write("a.txt", document(entry(1, "common")));
   EXPECT_EQ(describe(1, 2), described("common"));
}

TEST_F(DefaultTranslator, AnEnglishTextIsReadInTheCodePageOfEnglish)
{
   folder_.makeFolder("Errors/Japanese");
   write("English/a.txt", document(entry(1, "caf\xE9 \x93quoted\x94")));
   EXPECT_EQ(describe(1, 3), described("caf\u00E9 \u201Cquoted\u201D"));
}

TEST_F(DefaultTranslator, ATextOfTheErrorsFolderIsReadInTheCodePageOfTheLanguage)
{
   folder_.makeFolder("Errors/Japanese");
   write("a.txt", document(entry(1, "\x93\xFA\x96\x7B")));
   EXPECT_EQ(describe(1, 3), described("\u65E5\u672C"));
   EXPECT_EQ(describe(1, 0), described("\u201C\u00FA\u2013{"));
}

TEST_F(DefaultTranslator, EachLanguageIsReadInItsCodePage)
{
   write("French/a.txt", document(entry(1, "d\xE9j\xE0")));
   write("German/a.txt", document(entry(1, "M\xFCller")));
   write("Japanese/a.txt", document(entry(1, "\x93\xFA\x96\x7B")));
   write("Korean/a.txt", document(entry(1, "\xC7\xD1\xB1\xDB")));
   write("ChineseS/a.txt", document(entry(1, "\xD6\xD0\xCE\xC4")));
   EXPECT_EQ(describe(1, 1), described("d\u00E9j\u00E0"));
   EXPECT_EQ(describe(1, 2), described("M\u00FCller"));
   EXPECT_EQ(describe(1, 3), described("\u65E5\u672C"));
   EXPECT_EQ(describe(1, 4), described("\uD55C\uAE00"));
   EXPECT_EQ(describe(1, 5), described("\u4E2D\u6587"));
}

TEST_F(DefaultTranslator, ALanguageThatDoesNotExistIsEnglish)
{
   write("English/a.txt", document(entry(1, "one")));
   EXPECT_EQ(describe(1, 77), described("one"));
   EXPECT_EQ(describe(1, 6), described("one"));
   EXPECT_EQ(describe(1, 255), described("one"));
   EXPECT_EQ(describe(2, 77), undescribed(2));
}

TEST_F(DefaultTranslator, TheLanguageIsWhatAllEightBitsSay)
{
   write("German/a.txt", document(entry(1, "eins")));
   write("English/a.txt", document(entry(1, "one")));
   for (const uint32_t lang : {2u + 16u, 2u + 32u, 2u + 64u, 2u + 128u})
      EXPECT_EQ(describe(1, lang), described("one")) << lang;
   EXPECT_EQ(describe(1, 2u + 256u), described("eins")) << "the environment";
}

TEST_F(DefaultTranslator, AMissingFolderOfTheLanguageIsNotTold)
{
   write("English/a.txt", document(entry(1, "one")));
   EXPECT_EQ(describe(1, 1), described("one"));
   EXPECT_EQ(describe(2, 1), undescribed(2));
}

TEST_F(DefaultTranslator, ABadFileOfTheLanguageIsNotTold)
{
   write("French/a.txt", document(entry("abc", "bad")));
   write("English/a.txt", document(entry(1, "one")));
   EXPECT_EQ(describe(1, 1), described("one"));
}

TEST_F(DefaultTranslator, ABadFileOfEnglishIsTold)
{
   write("English/a.txt", document(entry("abc", "bad")));
   folder_.makeFolder("Errors/German");
   EXPECT_EQ(describe(1, 0), from(failedNumber(0)));
   EXPECT_EQ(describe(1, 2), from(failedNumber(0)));
   EXPECT_EQ(host_.calls, 0u);
}

TEST_F(DefaultTranslator, AMissingFolderOfEnglishIsTold)
{
   std::filesystem::remove(folder_.path("Errors/English"));
   write("a.txt", document(entry(1, "common")));
   const Description description = describe(1, 0);
   EXPECT_EQ(description.code, -52006);
   EXPECT_THAT(description.json, HasSubstr("open dir failed"));
   EXPECT_THAT(description.json, HasSubstr(R"(\\errors\\English")"));
}

TEST_F(DefaultTranslator, TheSecondFailureIsTheOneThatIsTold)
{
   write("French/a.txt", document("<tverror code=\"1\">\n"));
   write("English/a.txt", document(entry("abc", "bad")));
   EXPECT_EQ(describe(1, 1), from(failedNumber(0)));
}

TEST_F(DefaultTranslator, WithoutATextTellsTheCodeAsASignedNumber)
{
   EXPECT_EQ(describe(kNotFound, 0), undescribed(-52006));
   EXPECT_EQ(describe(UINT32_MAX, 3), undescribed(-1));
   EXPECT_EQ(host_.calls, 0u);
}

TEST_F(DefaultTranslator, TheEnvironmentShowsInAFailureOnly)
{
   write("English/a.txt", document(entry(1, "one")));
   EXPECT_EQ(describe(1, 0x300), described("one"));
   EXPECT_EQ(describe(2, 0x300), undescribed(2, 3));
   EXPECT_EQ(describe(2, 0xF02), undescribed(2, 15));
   EXPECT_EQ(describe(2, 0xFFFFF000), undescribed(2)) << "the other bits are ignored";
}

TEST_F(DefaultTranslator, ATextOutsideItsCodePageIsRefused)
{
   write("Japanese/a.txt", document(entry(1, "\x93\xFA \xFF")));
   write("English/a.txt", document(entry(1, "one")));
   const Description refused = {
      std::nullopt, -52027,
      R"({"error_constant":"err","file":"lorvex/lorvex","line":0,"component":"zerovaapi"})"};
   EXPECT_EQ(describe(1, 3), refused);
   EXPECT_EQ(host_.calls, 1u) << "the host is asked, with the failure in the status";
   EXPECT_EQ(host_.statusCode, -52027);
   EXPECT_EQ(host_.length, 1u);
}

TEST_F(DefaultTranslator, WithoutTheSettingNothingIsFound)
{
   write("English/a.txt", document(entry(1, "one")));
   SettingsTree::removeValue(SettingsTree::View::of32Bit, "SOFTWARE/Trevanta/Common/Installer",
                             "TRVSHAREDDIR");
   const Description description = describe(1, 0);
   EXPECT_EQ(description.text, std::nullopt);
   EXPECT_EQ(description.code, -52006);
   EXPECT_THAT(description.json, HasSubstr("torvik_debug"));
   EXPECT_EQ(host_.calls, 0u);
}

TEST_F(DefaultTranslator, WithAnErrorInTheStatusThereIsNoTranslator)
{
   OwnedStatus status(-1);
   EXPECT_EQ(lorvex_defaultTranslator_create("", "", &status), nullptr);
   EXPECT_EQ(status.code, -1);
}

TEST_F(DefaultTranslator, WithAnErrorInTheStatusNothingIsTouched)
{
   write("English/a.txt", document(entry(1, "one")));
   OwnedStatus status(-1);
   EXPECT_EQ(lorvex_defaultTranslator_getStaticDesc(nullptr, 1, 0, Host::allocate, &host_, &status),
             nullptr);
   EXPECT_EQ(status.code, -1);
   EXPECT_EQ(status.text(), "");
   EXPECT_EQ(host_.calls, 0u);
}

TEST_F(DefaultTranslator, AWarningStaysWhenATextIsFound)
{
   write("English/a.txt", document(entry(1, "one")));
   EXPECT_EQ(describe(1, 0, 7), (Description{"one", 7, ""}));
   EXPECT_EQ(describe(1, 3, 7), (Description{"one", 7, ""})) << "after the fall-back too";
}

TEST_F(DefaultTranslator, AFailureReplacesAWarning)
{
   EXPECT_EQ(describe(1, 0, 7), undescribed(1));
   write("English/a.txt", document(entry("abc", "bad")));
   EXPECT_EQ(describe(1, 0, 7), from(failedNumber(0)));
}

TEST_F(DefaultTranslator, TheHostsFailureIsTheResult)
{
   write("English/a.txt", document(entry(1, "one")));
   host_.failure = -52000;
   EXPECT_EQ(describe(1, 0), (Description{std::nullopt, -52000, ""}));
}

TEST_F(DefaultTranslator, AHostThatGivesNothingWithoutAFailureGetsNothing)
{
   write("English/a.txt", document(entry(1, "one")));
   OwnedStatus status;
   const auto giveNothing = [](void*, size_t, void*, quelerr_Status*) -> char* { return nullptr; };
   EXPECT_EQ(lorvex_defaultTranslator_getStaticDesc(nullptr, 1, 0, giveNothing, nullptr, &status),
             nullptr);
   EXPECT_EQ(status.code, 0);
}

TEST_F(DefaultTranslator, IsOneObjectOfBareCodesThatNoDestroyEnds)
{
   write("English/a.txt", document(entry(1, "one")));
   OwnedStatus status;
   lorvex_Translator* const translator = lorvex_defaultTranslator_create("a", "{}", &status);
   EXPECT_EQ(lorvex_defaultTranslator_create("b", "{}", &status), translator);
   EXPECT_EQ(translator->structSize, 32u);
   EXPECT_EQ(translator->getStaticDesc, lorvex_defaultTranslator_getStaticDesc);
   EXPECT_EQ(translator->getDynamicDesc, nullptr);
   translator->destroy(translator);
   translator->destroy(translator);
   EXPECT_EQ(describe(1, 0), described("one"));
}

TEST_F(DefaultTranslator, ServesManyThreadsAtOnce)
{
   write("Japanese/a.txt", document(entry(1, "\x93\xFA\x96\x7B")));
   write("English/a.txt", document(entry(2, "two")));
   std::vector<std::thread> threads;
   std::vector<std::string> wrong(8);
   for (std::string& failure : wrong)
      threads.emplace_back([&failure] {
         for (int i = 0; i < 50; ++i) {
            Host host;
            OwnedStatus status;
            const uint32_t code = i % 2 ? 1 : 2;
            const char* const text = lorvex_defaultTranslator_getStaticDesc(
               nullptr, code, 3, Host::allocate, &host, &status);
            const char* const expected = code == 1 ? "\u65E5\u672C" : "two";
            if (!text || std::strcmp(text, expected) != 0)
               failure = std::to_string(status.code) + status.text();
         }
      });
   for (std::thread& thread : threads)
      thread.join();
   EXPECT_THAT(wrong, testing::Each(""));
}

TEST_F(DefaultTranslator, WithoutMemoryThereIsAFailureOrATextAndNoLeak)
{
   write("Japanese/a.txt", document(entry(1, std::string(500, 'x') + "\x93\xFA")));
   write("English/a.txt", document(entry(1, "one")));
   char block[2000];
   const auto giveBlock = [](void*, size_t, void* context, quelerr_Status* status) -> char* {
      return status->code < 0 ? nullptr : static_cast<char*>(context);
   };
   for (const auto then : {FailingMalloc::Then::succeed, FailingMalloc::Then::failAlways}) {
      quelerr_Status status;
      const char* text = nullptr;
      const auto describeAnew = [&](size_t) {
         quelerr_Status_init(&status);
         text = lorvex_defaultTranslator_getStaticDesc(nullptr, 1, 3, giveBlock, block, &status);
      };
      forEachFailingAllocation(then, describeAnew, [&](size_t index) {
         // A failure in the folder of the language is no reason not to try English.
         if (text) {
            EXPECT_THAT(text, AnyOf(testing::StrEq("one"), HasSubstr("\u65E5"))) << index;
         } else {
            EXPECT_THAT(status.code, AnyOf(-52000, -52006, -52027)) << index;
         }
         quelerr_Status_release(&status);
      });
      EXPECT_EQ(status.code, 0);
      EXPECT_STREQ(text, (std::string(500, 'x') + "\u65E5").c_str());
      quelerr_Status_release(&status);
   }
}
