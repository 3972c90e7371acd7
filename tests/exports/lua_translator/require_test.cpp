// What require makes of a module: it is the interpreter's, but for what a failure leaves behind.
#include "exports/lua_translator/host.h"

namespace {

using testing::HasSubstr;
using testing::StartsWith;

class Require : public TranslatorHost
{
protected:
   // A client whose static description is what the chunk returns.
   void createRunning(const std::string& chunk)
   {
      createWithClient("local function run(name)\n"
                       "   local loaded, value = pcall(require, name)\n"
                       "   return tostring(value)\n"
                       "end\n"
                       "return {getStaticDesc = function(code)\n" +
                       chunk + "\nend}");
   }
};

constexpr const char* kFailsOnce = "tries = (tries or 0) + 1\n"
                                   "if tries == 1 then error('once', 0) end\n"
                                   "return 'loaded'";

TEST_F(Require, ModuleThatFailedWhileItRanIsTriedAgainWithTheNextCall)
{
   folder.write("once.lua", kFailsOnce);
   createRunning("return run('once')");
   EXPECT_EQ(staticDesc(0), "once");
   EXPECT_EQ(staticDesc(0), "loaded");
}

TEST_F(Require, ModuleThatFailedWhileItRanIsTriedAgainWithinTheCall)
{
   folder.write("once.lua", kFailsOnce);
   createRunning("return run('once') .. ' ' .. run('once') .. ' ' .. tries");
   EXPECT_EQ(staticDesc(0), "once loaded 2");
}

TEST_F(Require, ModuleIsTriedAgainWhateverItRaised)
{
   for (const char* value : {"nil", "false", "{}", "12", "print"}) {
      folder.write("once.lua", std::string("tries = (tries or 0) + 1\n"
                                           "if tries == 1 then error(") +
                                  value + ") end\nreturn 'loaded'");
      createRunning("run('once') return run('once')");
      EXPECT_EQ(staticDesc(0), "loaded") << value;
   }
}

TEST_F(Require, ModuleThatRanOutOfStackIsTriedAgain)
{
   folder.write("once.lua", "tries = (tries or 0) + 1\n"
                            "local function f() return 1 + f() end\n"
                            "if tries == 1 then f() end\n"
                            "return 'loaded'");
   createRunning("return run('once') .. ' ' .. run('once')");
   EXPECT_THAT(*staticDesc(0), HasSubstr("stack overflow"));
   EXPECT_EQ(staticDesc(0), "loaded loaded");
}

TEST_F(Require, ModuleThatAModuleRequiresIsTriedAgainAtEveryDepth)
{
   folder.write("inner.lua", kFailsOnce);
   folder.write("middle.lua", "return 'middle ' .. require('inner')");
   folder.write("outer.lua", "return 'outer ' .. require('middle')");
   createRunning("return run('outer')");
   EXPECT_EQ(staticDesc(0), "once");
   EXPECT_EQ(staticDesc(0), "outer middle loaded");
}

TEST_F(Require, ModuleWhoseRequiredModuleIsNotThereIsTriedAgain)
{
   folder.write("outer.lua", "return 'outer ' .. require('inner')");
   createRunning("return run('outer')");
   EXPECT_THAT(*staticDesc(0), HasSubstr("outer.lua:1: module 'inner' not found:"));
   folder.write("inner.lua", "return 'inner'");
   EXPECT_EQ(staticDesc(0), "outer inner");
}

TEST_F(Require, WhatAFailedModuleRequiredStaysLoaded)
{
   folder.write("inner.lua", "runs = (runs or 0) + 1");
   folder.write("outer.lua", "require('inner')\n" + std::string(kFailsOnce));
   createRunning("return run('outer') .. ' ' .. run('outer') .. ' ' .. runs");
   EXPECT_EQ(staticDesc(0), "once loaded 1");
}

TEST_F(Require, WhatAFailedModuleEnteredItselfGoesWithIt)
{
   folder.write("entered.lua", "package.loaded[...] = 'half'\n" + std::string(kFailsOnce));
   folder.write("declared.lua", "module(..., package.seeall)\n"
                                "if not ready then _G.ready = true error('once', 0) end\n"
                                "state = 'whole'");
   createRunning("if code == 0 then return run('entered') .. ' ' .. run('entered') end\n"
                 "run('declared')\n"
                 "return tostring(package.loaded.declared) .. ' ' .. require('declared').state");
   EXPECT_EQ(staticDesc(0), "once loaded");
   EXPECT_EQ(staticDesc(1), "nil whole");
}

TEST_F(Require, ModuleOfAScriptsOwnLoaderIsTriedAgain)
{
   createRunning("table.insert(package.loaders, 1, function(name)\n"
                 "   return name == 'own' and assert(loadstring([[" +
                 std::string(kFailsOnce) +
                 "]])) or nil\nend)\n"
                 "return run('own') .. ' ' .. run('own')");
   EXPECT_EQ(staticDesc(0), "once loaded");
}

TEST_F(Require, LoopIsRefusedAndLeavesNothingBehind)
{
   folder.write("one.lua", "return 'one ' .. require('two')");
   folder.write("two.lua", "return 'two ' .. require('one')");
   createRunning("return run('one')");
   EXPECT_THAT(*staticDesc(0), HasSubstr("two.lua:1: loop or previous error loading module 'one'"));
   folder.write("two.lua", "return 'two'");
   EXPECT_EQ(staticDesc(0), "one two");
}

TEST_F(Require, LoopThroughACoroutineIsRefused)
{
   folder.write("one.lua", "local ok, message = coroutine.resume(coroutine.create(function()\n"
                           "   return require('one') end))\n"
                           "return message");
   createRunning("return run('one')");
   EXPECT_THAT(*staticDesc(0), HasSubstr("loop or previous error loading module 'one'"));
}

TEST_F(Require, ModuleThatRefersToItselfOnceItHasEnteredItselfIsFound)
{
   folder.write("one.lua", "package.loaded[...] = 'early'\nreturn require('two')");
   folder.write("two.lua", "return 'two sees ' .. require('one')");
   createRunning("return run('one')");
   EXPECT_EQ(staticDesc(0), "two sees early");
}

TEST_F(Require, GivesWhatTheModuleGaveAndRunsItOnce)
{
   folder.write("value.lua", "runs = (runs or 0) + 1 return {...}");
   folder.write("nothing.lua", "nothing = true");
   folder.write("entry.lua", "package.loaded[...] = 'entered'");
   folder.write("untrue.lua", "runs = runs + 1 return false");
   createRunning("local value = require('value')\n"
                 "return value[1] .. #value .. tostring(value == require('value')) .. runs\n"
                 "   .. ' ' .. run('nothing') .. run('nothing') .. ' ' .. run('entry')\n"
                 "   .. ' ' .. run('untrue') .. run('untrue') .. runs");
   EXPECT_EQ(staticDesc(0), "value1true1 truetrue entered falsefalse3");
}

TEST_F(Require, MessagesNameTheScriptsLine)
{
   createRunning("if code == 0 then require('missing') end\n"
                 "if code == 1 then package.loaders = 5 end\n"
                 "require('another')");
   staticDesc(0);
   EXPECT_THAT(status("v.internal_error.string"),
               HasSubstr("client.lua:6: module 'missing' not found:\n\tno field "
                         "package.preload['missing']\n\tno file '"));
   HostStatus outcome;
   translator->getStaticDesc(translator, 1, 0, HostMemory::allocate, &memory, &outcome);
   EXPECT_THAT(outcome("v.internal_error.string"),
               HasSubstr("client.lua:8: 'package.loaders' must be a table"));
}

TEST_F(Require, TakesANumberForAName)
{
   folder.write("12.lua", "return ...");
   createRunning("return type(require(12)) .. require(12)");
   EXPECT_EQ(staticDesc(0), "string12");
}

TEST_F(Require, TableOfTextsThatFailedOnceIsUsedOnceItRuns)
{
   folder.write("errors_eng.lua", "tries = (tries or 0) + 1\n"
                                  "if tries == 1 then error('once') end\n"
                                  "return {encoding = 'utf-8', getString = function()\n"
                                  "   return 'found' end}");
   create(R"({"lorvexlua_xlator":"dorvex","lorvexlua_path":")" + folder.path() +
          R"(","lorvexlua_settings":{"trvSharedErrorsDir":"/nowhere"}})");
   ASSERT_TRUE(translator) << status.text();
   EXPECT_EQ(staticDesc(-1), "Error description not found");
   EXPECT_EQ(staticDesc(-1), "found");
}

TEST_F(Require, ClientThatFailsTellsItsMessageAsItIs)
{
   folder.write("client.lua", "require('inner')");
   folder.write("inner.lua", "error('deep')");
   create(R"({"lorvexlua_xlator":"client","lorvexlua_path":")" + folder.path() + "\"}");
   EXPECT_FALSE(translator);
   EXPECT_EQ(status("v.internal_error.string"), folder.path("inner.lua") + ":1: deep");
   EXPECT_THAT(status("v.internal_error.code"), "2");
}

} // namespace
