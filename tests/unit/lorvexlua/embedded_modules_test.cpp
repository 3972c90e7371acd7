#include "lorvexlua/embedded_modules.h"

#include "unit/lorvexlua/script_state.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <iterator>
#include <string>
#include <vector>

namespace {

using testing::ElementsAre;

EmbeddedModule module(const char* name, const std::string& text)
{
   return {name, reinterpret_cast<const unsigned char*>(text.data()), text.size()};
}

class EmbeddedModules : public testing::Test
{
protected:
   int add(const std::vector<EmbeddedModule>& modules)
   {
      testing::internal::CaptureStderr();
      const int result = lorvexlua_addModules(state.L, modules.data(), modules.size());
      standardError = testing::internal::GetCapturedStderr();
      return result;
   }

   ScriptState state;
   std::string standardError;
};

TEST_F(EmbeddedModules, TableHoldsTheTwelveModulesInTheirOrder)
{
   std::vector<std::string> names;
   for (size_t i = 0; i < lorvexlua_embeddedModuleCount; ++i)
      names.emplace_back(lorvexlua_embeddedModules[i].name);
   EXPECT_THAT(names,
               ElementsAre("json.lua", "util.lua", "commonTerms_eng.lua", "commonTerms_jpn.lua",
                           "commonTerms_kor.lua", "commonTerms_chs.lua", "commonTerms_fra.lua",
                           "commonTerms_deu.lua", "dvxl_defaultAttrTable.lua", "dorvex.lua",
                           "dvxl_utilities.lua", "lorvexlua.lua"));
}

TEST_F(EmbeddedModules, AllCompileAndNoneRuns)
{
   testing::internal::CaptureStderr();
   EXPECT_EQ(lorvexlua_addEmbeddedModules(state.L), 0);
   EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
   EXPECT_EQ(lua_gettop(state.L), 0);
   EXPECT_EQ(state.run(R"(
      local compiled, loaded = 0, 0
      for name, chunk in pairs(package.preload) do
         compiled = compiled + (type(chunk) == "function" and 1 or 0)
         loaded = loaded + (package.loaded[name] and 1 or 0)
      end
      return compiled, loaded)"),
             "12 0");
}

TEST_F(EmbeddedModules, ModuleRunsWhenItIsRequired)
{
   EXPECT_EQ(add({module("one.lua", "return 'ran ' .. ...")}), 0);
   EXPECT_EQ(state.eval("require('one')"), "ran one");
}

TEST_F(EmbeddedModules, MessageNamesTheFileWithItsExtension)
{
   EXPECT_EQ(add({module("one.lua", "error('x')")}), 0);
   EXPECT_EQ(state.eval("require('one')"), "error: [string \"one.lua\"]:1: x");
}

TEST_F(EmbeddedModules, ModuleThatDoesNotCompileCostsOneLineAndTheOthersArrive)
{
   EXPECT_EQ(add({module("first.lua", "return 1"), module("bad.lua", "return ="),
                  module("last.lua", "return 3")}),
             1);
   EXPECT_EQ(standardError, "ERROR: Failed to load \"bad.lua\": [string \"bad.lua\"]:1: unexpected "
                            "symbol near '='\n");
   EXPECT_EQ(state.eval("require('first') + require('last'), package.preload.bad"), "4 nil");
   EXPECT_EQ(lua_gettop(state.L), 0);
}

TEST_F(EmbeddedModules, EveryModuleThatDoesNotCompileIsTold)
{
   EXPECT_EQ(add({module("a.lua", "?"), module("b.luac", "!")}), 1);
   EXPECT_EQ(standardError,
             "ERROR: Failed to load \"a.lua\": [string \"a.lua\"]:1: unexpected symbol "
             "near '?'\nERROR: Failed to load \"b.luac\": [string \"b.luac\"]:1: "
             "unexpected symbol near '!'\n");
}

TEST_F(EmbeddedModules, OtherExtensionIsSkipped)
{
   for (const char* name : {"plain", "one.txt", "one.LUA", "one.lua.txt", "one.luax", "one."}) {
      EXPECT_EQ(add({module(name, "not Lua")}), 0) << name;
      EXPECT_EQ(standardError, "") << name;
      EXPECT_EQ(state.eval("next(package.preload)"), "nil") << name;
   }
}

TEST_F(EmbeddedModules, NameIsCutAtItsLastDot)
{
   EXPECT_EQ(add({module("a.b.lua", "return 5")}), 0);
   EXPECT_EQ(state.eval("require('a.b')"), "5");
}

TEST_F(EmbeddedModules, LaterRowOfAModuleReplacesTheEarlier)
{
   EXPECT_EQ(add({module("one.luac", "return 1"), module("one.lua", "return 2")}), 0);
   EXPECT_EQ(state.eval("require('one')"), "2");
}

TEST_F(EmbeddedModules, PrecompiledChunkIsTaken)
{
   std::string chunk;
   const auto append = [](lua_State*, const void* piece, size_t size, void* text) {
      static_cast<std::string*>(text)->append(static_cast<const char*>(piece), size);
      return 0;
   };
   ASSERT_EQ(luaL_loadstring(state.L, "return 42"), 0);
   ASSERT_EQ(lua_dump(state.L, append, &chunk), 0);
   lua_pop(state.L, 1);
   EXPECT_EQ(add({module("one.luac", chunk)}), 0);
   EXPECT_EQ(state.eval("require('one')"), "42");
}

TEST_F(EmbeddedModules, TextIsTakenByItsSizeAndNotToATerminator)
{
   EXPECT_EQ(add({{"one.lua", reinterpret_cast<const unsigned char*>("return 1234"), 9}}), 0);
   EXPECT_EQ(state.eval("require('one')"), "12");
}

TEST_F(EmbeddedModules, UtilFailsForLackOfTheCodec)
{
   ASSERT_EQ(lorvexlua_addEmbeddedModules(state.L), 0);
   state.run("package.path, package.cpath = '', ''");
   EXPECT_THAT(state.eval("require('util')"), testing::HasSubstr("module 'cjson' not found"));
}

} // namespace
