#include "lorvex/variables.h"

#include "support/environment.h"
#include "support/failing_malloc.h"
#include "support/nothing_left.h"
#include "support/owned.h"
#include "support/settings_tree.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>

namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;
using View = SettingsTree::View;

constexpr const char* kPlugin = "variables_test";

class Variables : public testing::Test
{
protected:
   void set(const char* name, std::string_view content)
   {
      tree.addValue(View::of32Bit, "SOFTWARE/Trevanta/Lorvex/plugins/variables_test", name,
                    content);
   }

   std::string lookUp(const char* name, const char* plugin = kPlugin)
   {
      lorvex_lookupVariable(plugin, name, &value, &status);
      return value.text();
   }

   std::string expand(std::string_view text)
   {
      OwnedString path(text);
      lorvex_expandPath(kPlugin, &path, &status);
      return path.text();
   }

   const EnvironmentVariable temporary{kTemporaryFolderVariable, kSomeTemporaryFolder};
   const std::string scratch = kSomeTemporaryFolder;
   SettingsTree tree;
   OwnedString value{"before"};
   OwnedStatus status;
};

using LookupVariable = Variables;
using ExpandPath = Variables;

TEST_F(LookupVariable, PluginsValueComesFromThe32BitView)
{
   tree.addValue(View::native, "SOFTWARE/Trevanta/Lorvex/plugins/variables_test", "home", "native");
   set("home", "/opt/plugin");
   EXPECT_EQ(lookUp("home"), "/opt/plugin");
   EXPECT_EQ(status.code, 0);
}

TEST_F(LookupVariable, StandardFoldersNeverTouchThePluginsKey)
{
   set("_tempDir", "wrong");
   set("_commonAppDataDir", "wrong");
   set("_trvSharedDir", "wrong");
   set("_trvShared32Dir", "wrong");
   tree.addValue(View::native, "SOFTWARE/Trevanta/Common/Installer", "TRVSHAREDDIR64", "/shared64");
   tree.addValue(View::of32Bit, "SOFTWARE/Trevanta/Common/Installer", "TRVSHAREDDIR", "/shared32");
   for (const char* plugin : {kPlugin, "", "..", "no such plugin"}) {
      EXPECT_EQ(lookUp("_tempDir", plugin), scratch);
      EXPECT_EQ(lookUp("_commonAppDataDir", plugin), kCommonFolder + std::string("\\Trevanta"));
      EXPECT_EQ(lookUp("_trvSharedDir", plugin), "/shared64");
      EXPECT_EQ(lookUp("_trvShared32Dir", plugin), "/shared32");
   }
   EXPECT_EQ(status.code, 0) << status.text();
}

TEST_F(LookupVariable, StandardNamesAreComparedByteForByte)
{
   set("_tempdir", "the plug-in's own");
   EXPECT_EQ(lookUp("_tempdir"), "the plug-in's own");
}

TEST_F(LookupVariable, PluginsNamesAreFoundWithoutRegardToCase)
{
   set("Home", "/opt/plugin");
   EXPECT_EQ(lookUp("HOME", "VARIABLES_TEST"), "/opt/plugin");
}

TEST_F(LookupVariable, BlanksAndBackslashesOfAPluginsValueStay)
{
   set("home", " \\a \\ ");
   EXPECT_EQ(lookUp("home"), " \\a \\ ");
}

TEST_F(LookupVariable, NulsAtTheEndOfAPluginsValueAreCutAndOthersStay)
{
   set("home", std::string_view("a\0b\0\0", 5));
   EXPECT_EQ(lookUp("home"), std::string("a\0b", 3));
}

TEST_F(LookupVariable, EmptyValueIsNoFailure)
{
   set("home", "");
   EXPECT_EQ(lookUp("home"), "");
   EXPECT_EQ(status.code, 0);
}

TEST_F(LookupVariable, LongValueIsReadWhole)
{
   const std::string text(10'000, 'a');
   set("home", text);
   EXPECT_EQ(lookUp("home"), text);
}

TEST_F(LookupVariable, NamesOfNonLatinScriptAreFound)
{
   tree.addValue(View::of32Bit, "SOFTWARE/Trevanta/Lorvex/plugins/\xED\x95\x9C", "\xF0\x9F\x98\x80",
                 "\xE6\x97\xA5");
   EXPECT_EQ(lookUp("\xF0\x9F\x98\x80", "\xED\x95\x9C"), "\xE6\x97\xA5");
}

TEST_F(LookupVariable, NamesThatAreNoUtf8AreNotFound)
{
   set("home", "/opt/plugin");
   for (const char* name : {"\xFF", "\xC3", "\xF0\x9F", "home\xE2"}) {
      status.code = 0;
      EXPECT_EQ(lookUp(name), "") << name;
      EXPECT_EQ(status.code, -52006) << name;
   }
}

TEST_F(LookupVariable, UnknownPluginIsResourceNotFoundAndTheValueEmpty)
{
   set("home", "/opt/plugin");
   EXPECT_EQ(lookUp("home", "no such plugin"), "");
   EXPECT_EQ(status.code, -52006);
   EXPECT_THAT(status.text(), EndsWith(R"("torvik_debug":{"desc":"RegOpenKeyEx failed"}})"));
}

TEST_F(LookupVariable, UnknownVariableIsResourceNotFoundAndTheValueEmpty)
{
   set("home", "/opt/plugin");
   EXPECT_EQ(lookUp("elsewhere"), "");
   EXPECT_EQ(status.code, -52006);
   EXPECT_THAT(status.text(), EndsWith(R"("torvik_debug":{"desc":"RegQueryValue failed"}})"));
}

TEST_F(LookupVariable, StandardFolderThatIsMissingLeavesTheValueEmpty)
{
   EXPECT_EQ(lookUp("_trvShared32Dir"), "");
   EXPECT_EQ(status.code, -52006);
}

TEST_F(LookupVariable, NoNameLeadsOutOfThePluginsKey)
{
   set("home", "/opt/plugin");
   tree.addValue(View::of32Bit, "SOFTWARE/Trevanta", "outside", "secret");
   for (const char* plugin : {"..", "../..", "..\\..", "", ".", "variables_test\\..\\.."}) {
      for (const char* name : {"outside", "../outside", "..\\outside", "../../outside", ""}) {
         status.code = 0;
         EXPECT_EQ(lookUp(name, plugin), "") << plugin << ' ' << name;
         EXPECT_EQ(status.code, -52006) << plugin << ' ' << name;
      }
   }
}

TEST_F(LookupVariable, ErrorInTheStatusEmptiesTheValueAndDoesNothingElse)
{
   set("home", "/opt/plugin");
   status.code = -1;
   EXPECT_EQ(lookUp("home"), "");
   EXPECT_EQ(status.code, -1);
   EXPECT_EQ(status.json, nullptr);
}

TEST_F(LookupVariable, WithoutMemoryTheValueIsEmpty)
{
   const std::string text(300, 'a');
   set("home", text);
   quelerr_Status attempt;
   quelerr_String found{};
   forEachFailingAllocation(
      FailingMalloc::Then::failAlways,
      [&](size_t) {
         quelerr_String_release(&found);
         quelerr_Status_init(&attempt);
         lorvex_lookupVariable(kPlugin, "home", &found, &attempt);
         quelerr_Status_release(&attempt);
      },
      [&](size_t index) {
         EXPECT_TRUE(attempt.code == -52000 || attempt.code == -52006) << index;
         EXPECT_EQ(found.length, 0u) << index;
      });
   EXPECT_EQ(attempt.code, 0);
   EXPECT_EQ(quelerr_String_text(&found), text);
   quelerr_String_release(&found);
}

TEST_F(ExpandPath, PathWithoutVariablesHasItsSlashesTurned)
{
   EXPECT_EQ(expand("/a/b\\c"), "\\a\\b\\c");
   EXPECT_EQ(expand(""), "");
   EXPECT_EQ(status.code, 0);
}

TEST_F(ExpandPath, VariableIsReplacedAndItsSeparatorStays)
{
   EXPECT_EQ(expand("$_tempDir\\x"), scratch + "\\x");
   EXPECT_EQ(expand("$_tempDir/x"), scratch + "\\x");
   EXPECT_EQ(expand("$_tempDir\\"), scratch + "\\");
   EXPECT_EQ(expand("a/$_tempDir/x"), "a\\" + scratch + "\\x");
}

TEST_F(ExpandPath, SettingsOfTheLibraryLeadToTheSharedFolder)
{
   tree.addValue(View::of32Bit, "SOFTWARE/Trevanta/Common/Installer", "TRVSHAREDDIR",
                 "/opt/trevanta/shared\\\n");
   EXPECT_EQ(expand("$_trvShared32Dir/Errors"), "/opt/trevanta/shared\\Errors");
}

TEST_F(ExpandPath, SeveralVariablesAreReplacedFromTheLeft)
{
   set("a", "one");
   set("c", "two");
   EXPECT_EQ(expand("$a\\b$c\\d"), "one\\btwo\\d");
}

TEST_F(ExpandPath, SlashesOfAValueStay)
{
   set("a", "x/y");
   EXPECT_EQ(expand("$a/b"), "x/y\\b");
}

TEST_F(ExpandPath, DollarOfAValueIsAVariableOnTheNextPass)
{
   set("outer", "in $inner\\folder");
   set("inner", "value");
   EXPECT_EQ(expand("$outer\\x"), "in value\\folder\\x");
}

TEST_F(ExpandPath, VariableAtTheEndOfAValueEndsAtThePathsSeparator)
{
   set("outer", "in $inner");
   set("inner", "value");
   EXPECT_EQ(expand("$outer\\x"), "in value\\x");
}

TEST_F(ExpandPath, BackslashAtTheEndOfAPluginsValueMakesTwo)
{
   set("home", "C:\\plugin\\");
   EXPECT_EQ(expand("$home\\x"), "C:\\plugin\\\\x");
}

TEST_F(ExpandPath, VariableWithoutASeparatorIsInvalidAndCut)
{
   EXPECT_EQ(expand("$_tempDir"), "");
   EXPECT_EQ(status.code, -52005);
   EXPECT_THAT(status.text(), StartsWith(R"({"error_constant":"tamrixerr_invalidParameter",)"));
   EXPECT_THAT(status.text(),
               EndsWith(R"(,"component":"zerovaapi","lorvex_debug":)"
                        R"({"lorvexdll":"plugin dll path invalid","dllPath":"$_tempDir"}})"));
}

TEST_F(ExpandPath, PathIsCutAtTheDollarAndToldAsItThenStands)
{
   EXPECT_EQ(expand("$_tempDir/x/$rest"), scratch + "\\x\\");
   EXPECT_EQ(status.code, -52005);
   EXPECT_THAT(status.text(), HasSubstr(R"(scratch\\x\\$rest")"));
}

TEST_F(ExpandPath, LoneDollarIsAVariableToo)
{
   EXPECT_EQ(expand("a$"), "a");
   EXPECT_EQ(status.code, -52005);
   status.code = 0;
   EXPECT_EQ(expand("a$\\b"), "a\\b");
   EXPECT_EQ(status.code, -52006) << "the empty name is not found";
}

TEST_F(ExpandPath, DollarWithinANameBelongsToIt)
{
   set("a$b", "found");
   EXPECT_EQ(expand("$a$b\\c"), "found\\c");
}

TEST_F(ExpandPath, AfterAFailureTheOtherVariablesAreRemoved)
{
   EXPECT_EQ(expand("$nowhere\\a\\$_tempDir\\b$"), "\\a\\\\b");
   EXPECT_EQ(status.code, -52006) << "the first failure stays";
}

TEST_F(ExpandPath, ErrorInTheStatusRemovesTheVariablesAndStays)
{
   status.code = -1;
   EXPECT_EQ(expand("a/$_tempDir/b/$c"), "a\\\\b\\");
   EXPECT_EQ(status.code, -1);
   EXPECT_EQ(status.json, nullptr);
}

TEST_F(ExpandPath, WarningSurvivesSuccess)
{
   status.code = 2;
   EXPECT_EQ(expand("$_tempDir\\x"), scratch + "\\x");
   EXPECT_EQ(status.code, 2);
}

TEST_F(ExpandPath, LeavesNothingBehindWhateverBecomesOfIt)
{
   set("home", "/opt/plugin");
   set("nested", "$home\\x");
   for (const char* text : {"no variable", "$home\\x", "$nested\\$_tempDir\\y", "$missing\\x",
                            "$home\\$missing\\x", "$end", ""})
   {
      SCOPED_TRACE(text);
      const NoBlockLeft noBlock;
      const NoDescriptorLeft noDescriptor;
      OwnedStatus outcome;
      OwnedString path(text);
      lorvex_expandPath(kPlugin, &path, &outcome);
      lorvex_lookupVariable("no such plugin", "home", &path, &outcome);
   }
}

TEST_F(ExpandPath, WithoutMemoryNoDollarSurvives)
{
   set("long", std::string(300, 'a'));
   quelerr_Status attempt;
   quelerr_String path{};
   bool stood = false;
   forEachFailingAllocation(
      FailingMalloc::Then::succeed,
      [&](size_t) {
         quelerr_String_release(&path);
         quelerr_Status_init(&attempt);
         quelerr_String_appendText(&path, "$long\\b\\$_tempDir\\c", &attempt);
         stood = attempt.code == 0;
         if (stood) lorvex_expandPath(kPlugin, &path, &attempt);
         quelerr_Status_release(&attempt);
      },
      [&](size_t index) {
         if (!stood) return;
         EXPECT_LT(attempt.code, 0) << index;
         EXPECT_EQ(std::string_view(path.data, path.length).find('$'), std::string::npos) << index;
         EXPECT_THAT(std::string(path.data, path.length), EndsWith("\\c")) << index;
      });
   EXPECT_EQ(std::string(path.data, path.length),
             std::string(300, 'a') + "\\b\\" + scratch + "\\c");
   quelerr_String_release(&path);
}

} // namespace
