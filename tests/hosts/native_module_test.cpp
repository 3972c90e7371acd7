// Native modules of drivers, in a host that exports no interpreter.
#include "exports/lua_translator/host.h"
#include "support/matches_pattern.h"

#include <dlfcn.h>

namespace {

using testing::HasSubstr;
using testing::StartsWith;

class NativeModule : public TranslatorHost
{
protected:
   // What a script of a driver tells that has the module loaded in its own way.
   std::string load(const std::string& script)
   {
      createWithClient("return {getStaticDesc = function()\n" + script + "\nend}");
      return staticDesc(0).value_or("null: " + status.text());
   }
};

TEST_F(NativeModule, NeedsTheInterpreterAndIsRefusedByTheName)
{
   EXPECT_THAT(load("local module, why, where = package.loadlib('" NATIVE_MODULE
                    "', 'luaopen_native')\n"
                    "return tostring(module) .. ' ' .. where .. ' ' .. why"),
               ContainsPattern("^nil open .*: undefined symbol: lua_push"));
}

TEST_F(NativeModule, IsRefusedByTheNameWhenItIsRequired)
{
   const std::string why = load("package.cpath = '" NATIVE_MODULE "'\n"
                                "return tostring(select(2, pcall(require, 'native')))");
   EXPECT_THAT(why, HasSubstr("error loading module 'native' from file '" NATIVE_MODULE "'"));
   EXPECT_THAT(why, HasSubstr("undefined symbol: lua_push"));
}

TEST_F(NativeModule, LeavesTheTranslatorReadyWhenItIsNotCaught)
{
   createWithClient("return {getStaticDesc = function(code)\n"
                    "   if code == 1 then\n"
                    "      assert(package.loadlib('" NATIVE_MODULE "', 'luaopen_native'))\n"
                    "   end\n"
                    "   return 'ready'\n"
                    "end}");
   EXPECT_EQ(staticDesc(1), std::nullopt);
   EXPECT_EQ(status.code, -52003);
   EXPECT_THAT(status("v.internal_error.string"), HasSubstr("undefined symbol: lua_push"));
   status.code = 0;
   EXPECT_EQ(staticDesc(0), "ready");
}

TEST_F(NativeModule, IsRefusedWhenItBringsAnInterpreterOfItsOwn)
{
   EXPECT_THAT(load("return select(2, package.loadlib('" NATIVE_MODULE_WITH_INTERPRETER
                    "', 'luaopen_native'))"),
               StartsWith("native modules are not supported"));
   EXPECT_EQ(dlopen(NATIVE_MODULE_WITH_INTERPRETER, RTLD_NOW | RTLD_NOLOAD), nullptr)
      << "it stays loaded";
}

TEST_F(NativeModule, WithoutAnyNeedOfTheInterpreterIsLoaded)
{
   EXPECT_EQ(load("local module, why = package.loadlib('" NATIVE_MODULE_ALONE
                  "', 'luaopen_native')\n"
                  "return why or 'loaded ' .. select('#', module())"),
             "loaded 0");
}

TEST_F(NativeModule, ThatLacksTheFunctionIsToldApart)
{
   EXPECT_THAT(load("local module, why, where = package.loadlib('" NATIVE_MODULE_ALONE
                    "', 'luaopen_another')\n"
                    "return where .. ' ' .. why"),
               ContainsPattern("^init .*: undefined symbol: luaopen_another"));
}

} // namespace
