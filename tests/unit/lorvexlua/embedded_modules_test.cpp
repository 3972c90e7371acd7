#include "lorvexlua/embedded_modules.h"

#include "unit/lorvexlua/script_state.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace {

using testing::ElementsAre;

EmbeddedModule module(const char* name, const std::string& text)
{
   return {name, reinterpret_cast<const unsigned char*>(text.data()), text.size()};
}

std::string fileText(const std::string& path)
{
   std::ifstream file(path);
   EXPECT_TRUE(file) << path;
   return {std::istreambuf_iterator<char>(file), {}};
}

class EmbeddedModules : public testing::Test
{
protected:
   // The function that a text or a chunk gives, with its constants, its lines and its names.
   std::string dump(const void* data, size_t size, const char* name)
   {
      std::string chunk;
      const auto append = [](lua_State*, const void* piece, size_t length, void* all) {
         static_cast<std::string*>(all)->append(static_cast<const char*>(piece), length);
         return 0;
      };
      EXPECT_EQ(luaL_loadbuffer(state.L, static_cast<const char*>(data), size, name), 0) << name;
      EXPECT_EQ(lua_dump(state.L, append, &chunk), 0) << name;
      lua_pop(state.L, 1);
      return chunk;
   }

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

TEST_F(EmbeddedModules, EachIsCompiledAndTheFunctionThatItsTextGives)
{
   for (size_t i = 0; i < lorvexlua_embeddedModuleCount; ++i) {
      const EmbeddedModule& row = lorvexlua_embeddedModules[i];
      const std::string name = row.name;
      const bool isMade = name.starts_with("commonTerms_");
      const std::string text =
         fileText((isMade ? ZEROVA_DICTIONARIES_DIR "/" : ZEROVA_SCRIPTS_DIR "/") + name);
      EXPECT_EQ(row.data[0], LUA_SIGNATURE[0]) << name;
      EXPECT_TRUE(dump(row.data, row.size, row.name) == dump(text.data(), text.size(), row.name))
         << name;
   }
}

TEST_F(EmbeddedModules, MessagesAndTracebacksNameTheFilesAndLinesOfTheTexts)
{
   ASSERT_EQ(lorvexlua_addEmbeddedModules(state.L), 0);
   const std::string trace = state.run(R"(
      local json = require('json')
      return select(2, xpcall(function() json.decode('{') end, debug.traceback)))");
   EXPECT_THAT(trace, testing::HasSubstr("[string \"json.lua\"]:"));
   EXPECT_THAT(trace, testing::HasSubstr("in function 'decode'"));
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
   const std::string text = "return 42";
   const std::string chunk = dump(text.data(), text.size(), "=one");
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
