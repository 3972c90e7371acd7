#include "lorvexlua/native_modules.h"

#include "support/failing_malloc.h"
#include "support/nothing_left.h"
#include "support/scratch_folder.h"
#include "support/settings_tree.h"
#include "unit/lorvexlua/script_state.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>

namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;
using View = SettingsTree::View;

constexpr const char* kPluginKey = "SOFTWARE/Trevanta/Lorvex/plugins/utils_test";

class Utilities : public testing::Test
{
protected:
   Utilities() { state.open(lorvexlua_openLorvexluautils, "lorvexluautils"); }

   // The result of a call of the module.
   std::string call(const std::string& function, const std::string& arguments)
   {
      return state.eval("lorvexluautils." + function + "(" + arguments + ")");
   }

   std::string entry(const std::string& code, const std::string& text)
   {
      return "<?xml version=\"1.0\"?>\n<tvdocument>\n<tverror code=\"" + code + "\">\n" + text +
             "\n</tverror>\n</tvdocument>\n";
   }

   // The path of the test's folder as a Lua text.
   std::string path(const std::string& name = "") const { return "'" + folder.path(name) + "'"; }

   SettingsTree tree;
   ScratchFolder folder;
   ScriptState state;
};

TEST_F(Utilities, ModuleIsAGlobalAndRequirable)
{
   EXPECT_EQ(state.eval("lorvexluautils == require('lorvexluautils')"), "true");
   EXPECT_EQ(lorvexlua_openLorvexluautils(state.L), 1);
   EXPECT_TRUE(lua_istable(state.L, -1));
   lua_pop(state.L, 1);
}

TEST_F(Utilities, ModuleHoldsTheSevenFunctions)
{
   EXPECT_EQ(
      state.run(R"(
      local names = {}
      for name, value in pairs(lorvexluautils) do table.insert(names, name .. " " .. type(value)) end
      table.sort(names)
      return table.concat(names, ", "))"),
      "convertLangToDir function, expandPath function, findErrorDescriptionFromDir function, "
      "findErrorDescriptionFromErrorsDir function, findErrorDescriptionFromFile function, "
      "lookupVariable function, mbsToUtf8 function");
}

TEST_F(Utilities, OpeningOverAnotherValueIsANameConflict)
{
   ScriptState other;
   other.run("package.loaded.lorvexluautils = 5; lorvexluautils = 5");
   lua_pushcfunction(other.L, lorvexlua_openLorvexluautils);
   ASSERT_EQ(lua_pcall(other.L, 0, 0, 0), LUA_ERRRUN);
   EXPECT_STREQ(lua_tostring(other.L, -1), "name conflict for module 'lorvexluautils'");
}

TEST_F(Utilities, PlainTextIsItsOwnUtf8)
{
   EXPECT_EQ(call("mbsToUtf8", "3, 'abc'"), "abc");
   EXPECT_EQ(call("mbsToUtf8", "0, '' "), "");
}

TEST_F(Utilities, TextComesFromTheCodePageOfTheLanguage)
{
   EXPECT_EQ(call("mbsToUtf8", "0, '\\233'"), "\u00E9");
   EXPECT_EQ(call("mbsToUtf8", "2, '\\128'"), "\u20AC");
   EXPECT_EQ(call("mbsToUtf8", "3, '\\131\\71'"), "\u30A8");
   EXPECT_EQ(call("mbsToUtf8", "4, '\\191\\161'"), "\uC5D0");
   EXPECT_EQ(call("mbsToUtf8", "5, '\\180\\237'"), "\u9519");
}

TEST_F(Utilities, TextEndsAtItsFirstZeroByte)
{
   EXPECT_EQ(call("mbsToUtf8", "0, 'ab\\0cd'"), "ab");
   EXPECT_EQ(call("expandPath", "'x', 'a/b\\0/c'"), "a\\b");
}

TEST_F(Utilities, BadTextRaisesTheStatusOfTheConversion)
{
   EXPECT_THAT(
      call("mbsToUtf8", "3, '\\131'"),
      StartsWith(R"(error: {"error_constant":"err","file":"lorvexlua/lorvexlua","line":)"));
}

TEST_F(Utilities, UnknownLanguageIsRefusedEvenForPlainText)
{
   for (const char* lang : {"9", "6", "-1", "4294967296 + 9"})
      EXPECT_THAT(
         call("mbsToUtf8", std::string(lang) + ", 'abc'"),
         AllOf(StartsWith(R"(error: {"error_constant":"tamrixerr_invalidParameter",)"),
               HasSubstr(R"("lorvex_debug":{"xmerrorsparser":"invalid language","lang":)")))
         << lang;
   EXPECT_THAT(call("mbsToUtf8", "9, ''"), HasSubstr("invalid language"));
}

TEST_F(Utilities, ErrorValueIsTheStatusJsonAlone)
{
   EXPECT_EQ(state.run("local ok, e = pcall(lorvexluautils.mbsToUtf8, 9, 'a')\n"
                       "return ok, e:match('^{.*}$') == e, e:match('\"lang\":9') ~= nil"),
             "false true true");
}

TEST_F(Utilities, ArgumentsAreCheckedTheTextBeforeTheLanguage)
{
   EXPECT_EQ(call("mbsToUtf8", "{}, {}"),
             "error: test:1: bad argument #2 to 'mbsToUtf8' (string expected, got table)");
   EXPECT_EQ(call("mbsToUtf8", "{}, 'a'"),
             "error: test:1: bad argument #1 to 'mbsToUtf8' (number expected, got table)");
   EXPECT_EQ(call("lookupVariable", "nil"),
             "error: test:1: bad argument #1 to 'lookupVariable' (string expected, got nil)");
   EXPECT_EQ(call("lookupVariable", "'a'"),
             "error: test:1: bad argument #2 to 'lookupVariable' (string expected, got no value)");
   EXPECT_EQ(call("expandPath", "'a', nil"),
             "error: test:1: bad argument #2 to 'expandPath' (string expected, got nil)");
   EXPECT_EQ(call("convertLangToDir", "'x'"),
             "error: test:1: bad argument #1 to 'convertLangToDir' (number expected, got string)");
   EXPECT_EQ(call("findErrorDescriptionFromErrorsDir", "'a', 1"),
             "error: test:1: bad argument #3 to 'findErrorDescriptionFromErrorsDir' "
             "(number expected, got no value)");
   EXPECT_EQ(call("findErrorDescriptionFromDir", "'a'"),
             "error: test:1: bad argument #2 to 'findErrorDescriptionFromDir' "
             "(number expected, got no value)");
}

TEST_F(Utilities, LanguageHasItsFolder)
{
   EXPECT_EQ(call("convertLangToDir", "0"), "English");
   EXPECT_EQ(call("convertLangToDir", "5"), "ChineseS");
   EXPECT_THAT(call("convertLangToDir", "6"),
               HasSubstr(R"("xmerrorsparser":"invalid language","lang":6})"));
}

TEST_F(Utilities, VariableOfThePluginIsLookedUp)
{
   tree.addValue(View::of32Bit, kPluginKey, "home", "/opt/plugin/ ");
   EXPECT_EQ(call("lookupVariable", "'utils_test', 'home'"), "/opt/plugin/ ");
}

TEST_F(Utilities, StandardVariableComesBeforeThePluginsOwn)
{
   tree.addValue(View::of32Bit, kPluginKey, "_trvShared32Dir", "plugin's");
   tree.addValue(View::of32Bit, "SOFTWARE/Trevanta/Common/Installer", "TRVSHAREDDIR", "/shared\\");
   EXPECT_EQ(call("lookupVariable", "'utils_test', '_trvShared32Dir'"), "/shared");
}

TEST_F(Utilities, UnknownVariableRaisesTheStatus)
{
   EXPECT_THAT(call("lookupVariable", "'utils_test', 'nothing'"),
               AllOf(StartsWith(R"(error: {"error_constant":"tamrixerr_resourceNotFound",)"),
                     HasSubstr(R"("torvik_debug":{"desc":"RegOpenKeyEx failed"})")));
}

TEST_F(Utilities, PathWithoutVariablesOnlyHasItsSlashesTurned)
{
   EXPECT_EQ(call("expandPath", "'utils_test', 'a/b\\\\c//'"), "a\\b\\c\\\\");
   EXPECT_EQ(call("expandPath", "'utils_test', ''"), "");
}

TEST_F(Utilities, VariablesOfAPathAreExpanded)
{
   tree.addValue(View::of32Bit, kPluginKey, "home", "/opt/$inner\\x");
   tree.addValue(View::of32Bit, kPluginKey, "inner", "deep");
   EXPECT_EQ(call("expandPath", "'utils_test', '$home/y'"), "/opt/deep\\x\\y");
}

TEST_F(Utilities, VariableThatNothingFollowsRaisesTheStatus)
{
   EXPECT_THAT(call("expandPath", "'utils_test', '$_tempDir'"),
               AllOf(StartsWith(R"(error: {"error_constant":"tamrixerr_invalidParameter",)"),
                     HasSubstr(R"("lorvex_debug":{"lorvexdll":"plugin dll path invalid",)"
                               R"("dllPath":"$_tempDir"})")));
   EXPECT_EQ(call("expandPath", "'utils_test', '$_tempDir/x'").find("error:"), std::string::npos);
}

TEST_F(Utilities, TextIsFoundInTheFolderOfTheLanguageAndThenAboveIt)
{
   folder.write("English/a.txt", entry("-1", "below"));
   folder.write("b.txt", entry("-2", "above"));
   EXPECT_EQ(call("findErrorDescriptionFromErrorsDir", path() + ", -1, 0"), "below");
   EXPECT_EQ(call("findErrorDescriptionFromErrorsDir", path() + ", -2, 0"), "above");
   EXPECT_EQ(call("findErrorDescriptionFromErrorsDir", path() + ", -3, 0"), "nil");
}

TEST_F(Utilities, MissingFolderOfTheLanguageRaisesThoughTheTextIsAbove)
{
   folder.write("b.txt", entry("-2", "above"));
   EXPECT_THAT(call("findErrorDescriptionFromErrorsDir", path() + ", -2, 0"),
               HasSubstr(R"("debug":"open dir failed")"));
}

TEST_F(Utilities, UnknownLanguageRaisesInTheSearch)
{
   EXPECT_THAT(call("findErrorDescriptionFromErrorsDir", path() + ", -2, 6"),
               HasSubstr("invalid language"));
}

TEST_F(Utilities, EmptyErrorsFolderBeginsWithTheSeparator)
{
   EXPECT_THAT(call("findErrorDescriptionFromErrorsDir", "'', -1, 0"),
               HasSubstr(R"("path":"\\English")"));
}

TEST_F(Utilities, FolderIsSearchedUnderBothNames)
{
   folder.write("b.txt", entry("0x10", "sixteen"));
   for (const char* function : {"findErrorDescriptionFromDir", "findErrorDescriptionFromFile"}) {
      EXPECT_EQ(call(function, path() + ", 16"), "sixteen");
      EXPECT_EQ(call(function, path() + ", 17"), "nil");
      EXPECT_THAT(call(function, path("b.txt") + ", 16"), HasSubstr("open dir failed")) << function;
   }
}

TEST_F(Utilities, CodeIsNarrowedToItsLow32Bits)
{
   folder.write("b.txt", entry("-1", "minus one"));
   EXPECT_EQ(call("findErrorDescriptionFromDir", path() + ", 4294967295"), "minus one");
}

// What only the debug library can reach.
TEST_F(Utilities, FinaliserOfTheirWorkRefusesWhatIsNone)
{
   lua_State* const L = state.L;
   lua_newuserdata(L, 1);
   lua_setglobal(L, "small");
   lua_pushlightuserdata(L, L);
   lua_setglobal(L, "light");
   state.run("for name, value in pairs(debug.getregistry()) do\n"
             "   if name == 'lorvexluautils work' then type = value end end");
   for (const char* value : {"small", "light"}) {
      EXPECT_THAT(state.run(std::string("debug.setmetatable(") + value + ", type)\n" +
                            "return pcall(type.__gc, " + value + ")"),
                  StartsWith("false bad argument #1 to '?' (lorvexluautils work expected"))
         << value;
      state.run(std::string("debug.setmetatable(") + value + ", nil)");
   }
}

TEST_F(Utilities, LackOfMemoryInAnyPlaceIsALuaErrorAndLosesNothing)
{
   folder.write("English/a.txt", entry("-1", "\xE9 words"));
   const std::string work =
      "dir = " + path() +
      "\nfunction work()\n"
      "   local text = lorvexluautils.findErrorDescriptionFromErrorsDir(dir, -1, 0)\n"
      "   return lorvexluautils.mbsToUtf8(0, text) .. lorvexluautils.expandPath('x', dir)\n"
      "end";
   state.run(work + "\nwork()"); // what is made once for the process
   const NoDescriptorLeft noDescriptor;
   const NoBlockLeft noBlock;
   ScriptState own;
   own.open(lorvexlua_openLorvexluautils, "lorvexluautils");
   own.run(work);
   lua_State* const L = own.L;
   const size_t count = forEachFailingAllocation(
      FailingMalloc::Then::succeed,
      [&](size_t) {
         lua_getglobal(L, "work"); // the name is there already, so this needs no memory
         lua_pcall(L, 0, 1, 0);
      },
      [&](size_t) { lua_settop(L, 0); });
   EXPECT_GT(count, 5u);
   EXPECT_THAT(lua_tostring(L, -1), StartsWith("\u00E9 words"));
   lua_settop(L, 0);
}

} // namespace
