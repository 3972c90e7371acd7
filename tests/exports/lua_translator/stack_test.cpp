// What a translator needs of the stack, as its header tells hosts that run it on threads of their
// own.
#include "lorvex_translator.h"
#include "support/scratch_folder.h"
#include "support/settings_tree.h"
#include "support/small_stack.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using testing::HasSubstr;
using testing::Le;

constexpr size_t kNeed = 16 * 1024;
constexpr size_t kNeedOfTheDeepest = 112 * 1024;
constexpr int kLanguages = 6;

struct HostStatus : quelerr_Status
{
   HostStatus() { quelerr_heapStatus_init(this); }
   HostStatus(const HostStatus&) = delete;
   HostStatus& operator=(const HostStatus&) = delete;
   ~HostStatus() { quelerr_heapStatus_release(this); }

   std::string text() const { return json ? json : ""; }
};

char* allocate(void*, size_t length, void* context, quelerr_Status*)
{
   auto* const block = static_cast<std::vector<char>*>(context);
   return length <= block->size() ? block->data() : nullptr;
}

class StackOfATranslator : public testing::Test
{
protected:
   StackOfATranslator()
   {
      tree.addValue(SettingsTree::View::of32Bit, "SOFTWARE/Trevanta/Common/Installer",
                    "TRVSHAREDDIR", folder.path() + "\\");
      const char* const folders[kLanguages] = {"English",  "French", "German",
                                               "Japanese", "Korean", "ChineseS"};
      for (const char* language : folders)
         folder.write(std::string("Errors/") + language + "/errors.txt",
                      "<?xml version=\"1.0\"?>\n<tvdocument>\n<tverror code=\"-1\">\n" +
                         std::string(2000, 'x') + "\x83\x47\n</tverror>\n</tvdocument>\n");
      folder.write("Own/driver/English/bad.err", "<?xml version=\"1.0\"?>\n<tvdocument>\n"
                                                 "<tverror code=\"x\">\n");
      folder.write("errors_eng.lua", "return {encoding = 'utf-8', getString = function(code)\n"
                                     "   return code == -3 and 'from a table' or nil end}");
      folder.write("driver_attributes_eng.lua",
                   "return {encoding = 'utf-8', getAttribute = function(id)\n"
                   "   return {shortName = 'attribute', enums = {['1'] = 'one'}} end}");
   }
   ~StackOfATranslator() override { destroy(); }

   void destroy()
   {
      if (translator) translator->destroy(translator);
      translator = nullptr;
   }

   size_t create(const std::string& registration)
   {
      destroy();
      return stackUsedBy(kNeed, [&] {
         translator = lorvex_exported_create("dorvex_zerova", registration.c_str(), &status);
      });
   }

   // With all that the translator script can be told.
   void createWhole()
   {
      EXPECT_THAT(create(R"({"lorvexlua_xlator":"dorvex","lorvexlua_path":")" + folder.path() +
                         R"(","lorvexlua_settings":{"driverName":"driver",)"
                         R"("trvSharedErrorsDir":"$_trvShared32Dir/Errors","AuxErrorsDir":")" +
                         folder.path() + "/Own\"}}"),
                  Le(kNeed));
      ASSERT_TRUE(translator) << status.text();
   }

   size_t describeCode(int32_t code, int32_t language)
   {
      return stackUsedBy(kNeed, [&] {
         text =
            translator->getStaticDesc(translator, static_cast<uint32_t>(code),
                                      LORVEX_LANG_AND_ADE(language, 1), allocate, &block, &status);
      });
   }

   size_t describe(const std::string& errJson, int32_t language = 0, const char* format = "json1",
                   size_t bytes = kNeed)
   {
      return stackUsedBy(bytes, [&] {
         text = translator->getDynamicDesc(translator, errJson.c_str(),
                                           LORVEX_LANG_AND_ADE(language, 1), format, allocate,
                                           &block, &status);
      });
   }

   ScratchFolder folder;
   SettingsTree tree;
   HostStatus status;
   std::vector<char> block = std::vector<char>(65536);
   const char* text = nullptr;
   lorvex_Translator* translator = nullptr;
};

TEST_F(StackOfATranslator, EveryOperationNeedsNoMoreThanItIsSaidTo)
{
   createWhole();
   for (int32_t language = 0; language < kLanguages; ++language) {
      for (const int32_t code : {-1, -2, -3}) {
         EXPECT_THAT(describeCode(code, language), Le(kNeed)) << code << ' ' << language;
         EXPECT_TRUE(text) << status.text();
      }
      EXPECT_THAT(describe(R"({"component":"c","file":"f","line":1.5,"x":{"y":[1,2.5e-3,null]},)"
                           R"("translator_info":{"ordered_data":[)"
                           R"({"type":"usage","usage":"kUsageTypeDevice","value":["dev1",7]},)"
                           R"({"type":"usage","usage":"kUsageTypeAttributeId","value":1234},)"
                           R"({"type":"usage","usage":"kUsageTypeValue","value":1,)"
                           R"("value_type":{"type":"enum","id":5}},)"
                           R"({"type":"header","usage":"kUsageTypeDevice"},{"type":"empty"}]}})",
                           language),
                  Le(kNeed))
         << language;
      EXPECT_TRUE(text) << status.text();
   }
   EXPECT_EQ(status.code, 0);
   EXPECT_THAT(stackUsedBy(kNeed, [&] { destroy(); }), Le(kNeed));
}

TEST_F(StackOfATranslator, EveryFailureNeedsNoMoreThanItIsSaidTo)
{
   createWhole();
   const char* const kBad[][2] = {
      {"no JSON", "json1"},
      {"{}", "another"},
      {R"({"translator_info":{"ordered_data":[{"type":"usage","value_type":{"type":"enum"}}]}})",
       "json1"}};
   for (const auto& [errJson, format] : kBad) {
      EXPECT_THAT(describe(errJson, 0, format), Le(kNeed)) << errJson;
      EXPECT_LT(status.code, 0);
      status.code = 0;
   }
   const std::string kRegistrations[] = {
      "", "{}", R"({"lorvexlua_xlator":"missing"})",
      R"({"lorvexlua_xlator":"dorvex","lorvexlua_path":"$nowhere/x"})",
      R"({"lorvexlua_xlator":"dorvex","deep":)" + std::string(2000, '[')};
   for (const std::string& registration : kRegistrations) {
      EXPECT_THAT(create(registration), Le(kNeed)) << registration;
      EXPECT_FALSE(translator);
      EXPECT_EQ(status.code, -52003);
      status.code = 0;
   }
   EXPECT_THAT(stackUsedBy(kNeed, [&] { lorvex_exported_create("none", "{}", &status); }),
               Le(kNeed));
   EXPECT_EQ(status.code, -52005);
}

TEST_F(StackOfATranslator, DeepestRegistrationNeedsNoMoreThanAnyOther)
{
   EXPECT_THAT(create(R"({"lorvexlua_xlator":"dorvex","deep":)" + std::string(999, '[') +
                      std::string(999, ']') + "}"),
               Le(kNeed));
   EXPECT_TRUE(translator) << status.text();
}

// Objects and arrays, shown as a row of the debug section or not at all.
TEST_F(StackOfATranslator, DeepestStatusNeedsNoMoreThanItIsSaidTo)
{
   createWhole();
   std::string objects = "1";
   std::string arrays = "1";
   for (int level = 0; level < 999; ++level) {
      objects = R"({"a":)" + objects + "}";
      arrays = "[" + arrays + "]";
   }
   const std::string kDeepest[] = {R"({"a":)" + objects + "}", R"({"a":)" + arrays + "}",
                                   R"({"translator_info":)" + arrays + "}"};
   for (const std::string& errJson : kDeepest) {
      EXPECT_THAT(describe(errJson, 0, "json1", kNeedOfTheDeepest), Le(kNeedOfTheDeepest));
      EXPECT_TRUE(text) << status.text();
   }
   // One level more is one too many.
   EXPECT_THAT(describe(R"({"a":[)" + arrays + "]}", 0, "json1", kNeedOfTheDeepest),
               Le(kNeedOfTheDeepest));
   EXPECT_THAT(status.text(), HasSubstr("too many nested data structures"));
}

} // namespace
