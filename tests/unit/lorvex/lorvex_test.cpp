#include "lorvex/lorvex.h"

#include "lorvex/default_translator.h"
#include "support/failing_malloc.h"
#include "support/owned.h"

#include <gtest/gtest.h>

namespace {

constexpr const char* kSettings =
   R"({"lorvexlua_xlator":"dorvex","lorvexlua_settings":{"driverName":"zerova",)"
   R"("trvSharedErrorsDir":"$_trvShared32Dir/Errors",)"
   R"("AuxErrorsDir":"$_trvShared32Dir/Auxerrors"}})";

TEST(Load, SettingsTextIsThereBeforeAnythingRuns)
{
   EXPECT_STREQ(quelerr_String_text(&lorvex_zerovaSettings), kSettings);
}

TEST(Load, ExportedEntryFindsTheScriptedTranslatorAlone)
{
   const auto* const node = lorvex_exportedTranslators.next;
   EXPECT_STREQ(node->name, "dorvex_zerova");
   EXPECT_EQ(node->factory, lorvexlua_createTranslator);
   EXPECT_EQ(node->next, &lorvex_exportedTranslators);
}

TEST(Load, BothTranslatorsStandReadyWithTheirSettings)
{
   const auto* const zerova = lorvex_registeredTranslators.next;
   EXPECT_STREQ(zerova->name, "dorvex_zerova");
   EXPECT_STREQ(zerova->settings, kSettings);
   EXPECT_EQ(zerova->factory, lorvexlua_createTranslator);
   const auto* const standard = zerova->next;
   EXPECT_STREQ(standard->name, "lorvex_default");
   EXPECT_STREQ(standard->settings, "{}");
   EXPECT_EQ(standard->factory, lorvex_defaultTranslator_create);
   EXPECT_EQ(standard->next, &lorvex_registeredTranslators);
}

TEST(Load, UnloadGivesEverythingBack)
{
   lorvex_unload();
   const quelerr_String settings = lorvex_zerovaSettings;
   const bool isEmpty = lorvex_exportedTranslators.next == &lorvex_exportedTranslators &&
                        lorvex_exportedTranslators.prev == &lorvex_exportedTranslators &&
                        lorvex_registeredTranslators.next == &lorvex_registeredTranslators &&
                        lorvex_registeredTranslators.prev == &lorvex_registeredTranslators;
   lorvex_load();
   EXPECT_EQ(settings.data, nullptr);
   EXPECT_EQ(settings.capacity, 0u);
   EXPECT_EQ(settings.length, 0u);
   EXPECT_TRUE(isEmpty);
   EXPECT_STREQ(quelerr_String_text(&lorvex_zerovaSettings), kSettings);
}

TEST(Load, WithoutMemoryTheSettingsAreEmptyAndNotCut)
{
   const size_t count = forEachFailingAllocation(
      FailingMalloc::Then::succeed,
      [](size_t) {
         lorvex_unload();
         lorvex_load();
      },
      [](size_t index) { EXPECT_EQ(lorvex_zerovaSettings.data, nullptr) << index; });
   EXPECT_EQ(count, 2u) << "128 bytes, then room for the last piece";
   EXPECT_STREQ(quelerr_String_text(&lorvex_zerovaSettings), kSettings);
}

} // namespace
