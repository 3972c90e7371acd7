#include "exports/lua_translator/host.h"
#include "support/matches_pattern.h"

namespace {

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

using CreateTranslator = TranslatorHost;

constexpr const char* kDorvex = R"({"lorvexlua_xlator":"dorvex"})";

TEST_F(CreateTranslator, GivesTheWholeInterface)
{
   create(kDorvex);
   ASSERT_TRUE(translator) << status.text();
   EXPECT_EQ(translator->structSize, 32u);
   EXPECT_TRUE(translator->destroy);
   EXPECT_TRUE(translator->getStaticDesc);
   EXPECT_TRUE(translator->getDynamicDesc);
   EXPECT_EQ(status.code, 0);
   EXPECT_FALSE(status.json);
}

TEST_F(CreateTranslator, NeedsNoScriptOnDisk)
{
   create(kDorvex);
   Json description(*dynamicDesc(R"({"line":42})"));
   EXPECT_EQ(description("v.debug[1].value"), "42");
}

TEST_F(CreateTranslator, WarningInTheStatusStays)
{
   status.code = 7;
   create(kDorvex);
   EXPECT_TRUE(translator);
   EXPECT_EQ(status.code, 7);
}

TEST_F(CreateTranslator, ErrorInTheStatusMakesItDoNothing)
{
   status.code = -7;
   create("not looked at");
   EXPECT_FALSE(translator);
   EXPECT_EQ(status.code, -7);
   EXPECT_FALSE(status.json);
}

TEST_F(CreateTranslator, WarningIsReplacedByError)
{
   status.code = 7;
   create("");
   EXPECT_FALSE(translator);
   EXPECT_EQ(status.code, -52003);
}

TEST_F(CreateTranslator, DestroyOfNullDoesNothing)
{
   create(kDorvex);
   translator->destroy(nullptr);
}

TEST_F(CreateTranslator, FailedSetupTellsTheWholeDocument)
{
   create("{}");
   EXPECT_FALSE(translator);
   EXPECT_EQ(status.code, -52003);
   EXPECT_THAT(
      status.text(),
      MatchesPattern(R"re(\{"error_constant":"tamrixerr_softwareFaultTAMRIXInternalUseOnly",)re"
                     R"re("file":"lorvexlua/lorvexlua","line":[0-9]+,"component":"zerovaapi",)re"
                     R"re("internal_error":\{"api":"lua","code":2,"string":"[^}]*"\},)re"
                     R"re("lorvexlua_debug":\{"debug":"lua setupEnv failed",)re"
                     R"re("name":"dorvex_zerova","registrationInfo":"\{\}"\}\})re"));
}

TEST_F(CreateTranslator, FailedSetupHasNoTraceback)
{
   create("{}");
   EXPECT_THAT(status("v.internal_error.string"), Not(HasSubstr("traceback")));
}

TEST_F(CreateTranslator, BadRegistrationTellsWhatIsWrong)
{
   const char* const kCases[][2] = {
      {"", "text ends where a value must stand at line 1, character 1"},
      {"dorvex", "no value at line 1, character 1"},
      {"{\"lorvexlua_xlator\":\n", "text ends where a value must stand at line 2, character 1"},
      {"5", "attempt to index local 'registration' (a number value)"},
      {"null", "attempt to index local 'registration' (a nil value)"},
      {"{}", "bad argument #1 to 'require' (string expected, got nil)"},
      {R"({"lorvexlua_xlator":null})", "bad argument #1 to 'require' (string expected, got nil)"},
      {R"({"lorvexlua_xlator":{}})", "bad argument #1 to 'require' (string expected, got table)"},
      {R"({"lorvexlua_xlator":"missing"})", "module 'missing' not found"},
      {R"({"lorvexlua_xlator":"dorvex","lorvexlua_path":"$_tempDir"})", "plugin dll path invalid"},
      {R"({"lorvexlua_xlator":"dorvex","lorvexlua_path":"$nowhere/x"})",
       "tamrixerr_resourceNotFound"},
      {R"({"lorvexlua_xlator":"dorvex","lorvexlua_path":{}})", "string expected, got table"},
      {R"({"lorvexlua_xlator":"util"})", "module 'cjson' not found"},
   };
   for (const auto& [registration, message] : kCases) {
      HostStatus outcome;
      EXPECT_FALSE(lorvex_exported_create("dorvex_zerova", registration, &outcome));
      EXPECT_EQ(outcome.code, -52003) << registration;
      EXPECT_EQ(outcome("v.internal_error.code"), "2") << registration;
      EXPECT_THAT(outcome("v.internal_error.string"), HasSubstr(message)) << registration;
      EXPECT_EQ(outcome("v.lorvexlua_debug.registrationInfo"), registration);
   }
}

TEST_F(CreateTranslator, NullRegistrationIsToldWithoutItsText)
{
   EXPECT_FALSE(lorvex_exported_create("dorvex_zerova", nullptr, &status));
   EXPECT_EQ(status.code, -52003);
   EXPECT_EQ(status("v.lorvexlua_debug.name"), "dorvex_zerova");
   EXPECT_EQ(status("v.lorvexlua_debug.registrationInfo"), "nil");
   EXPECT_THAT(status("v.internal_error.string"), HasSubstr("expected a text, got nil"));
}

TEST_F(CreateTranslator, RegistrationOfTenMegabytesWorks)
{
   create(R"({"lorvexlua_xlator":"dorvex","filler":")" + std::string(10 * 1024 * 1024, 'x') +
          "\"}");
   EXPECT_TRUE(translator) << status("v.internal_error.string");
}

TEST_F(CreateTranslator, BadRegistrationOfTenMegabytesIsToldWhole)
{
   const std::string registration(10 * 1024 * 1024, '[');
   create(registration);
   EXPECT_FALSE(translator);
   EXPECT_EQ(status.code, -52003);
   EXPECT_EQ(status("#v.lorvexlua_debug.registrationInfo"), std::to_string(registration.size()));
}

TEST_F(CreateTranslator, RegistrationNestedTooDeepIsRefused)
{
   create(R"({"lorvexlua_xlator":"dorvex","deep":)" + std::string(100000, '[') +
          std::string(100000, ']') + "}");
   EXPECT_FALSE(translator);
   EXPECT_EQ(status.code, -52003);
   EXPECT_THAT(status("v.internal_error.string"), HasSubstr("more than 1000 levels"));
}

TEST_F(CreateTranslator, RegistrationMayBeWrittenByHand)
{
   create("/* settings */ {'lorvexlua_xlator': 'dorvex'} and what follows");
   EXPECT_TRUE(translator) << status.text();
}

TEST_F(CreateTranslator, AbsentPathLeavesPackagePathEmpty)
{
   create(kDorvex);
   ASSERT_TRUE(translator);
   // The search for the driver's texts is in vain, and nothing but preload is asked.
   create(R"({"lorvexlua_xlator":"client"})");
   EXPECT_THAT(status("v.internal_error.string"),
               HasSubstr("module 'client' not found:\n\tno field package.preload['client']"));
   EXPECT_THAT(status("v.internal_error.string"), Not(HasSubstr("no file")));
}

TEST_F(CreateTranslator, PathListsTheFoldersInOrder)
{
   const std::string first = folder.makeFolder("first");
   const std::string second = folder.makeFolder("second");
   folder.write("second/client.lua",
                "return {getStaticDesc = function() return package.path .. '|' .. package.cpath "
                "end}");
   create(R"({"lorvexlua_xlator":"client","lorvexlua_path":";)" + first + ";;" + second + "/;\"}");
   ASSERT_TRUE(translator) << status.text();
   EXPECT_EQ(staticDesc(0), first + "/?.lua;" + second + "/?.lua|");
}

TEST_F(CreateTranslator, BackslashesOfAPathBecomeSlashes)
{
   const std::string scripts = folder.makeFolder("a/b");
   folder.write("a/b/client.lua", "return {getStaticDesc = function() return package.path end}");
   create(R"({"lorvexlua_xlator":"client","lorvexlua_path":")" + folder.path() + R"(\\a\\b\\"})");
   ASSERT_TRUE(translator) << status.text();
   EXPECT_EQ(staticDesc(0), scripts + "/?.lua");
}

TEST_F(CreateTranslator, VariableInAPathIsExpanded)
{
   const std::string name = folder.path().substr(folder.path().rfind('/') + 1);
   folder.write("client.lua", "return {getStaticDesc = function() return 'found' end}");
   create(R"({"lorvexlua_xlator":"client","lorvexlua_path":"$_tempDir/)" + name + "\"}");
   ASSERT_TRUE(translator) << status.text();
   EXPECT_EQ(staticDesc(0), "found");
}

TEST_F(CreateTranslator, ClientModuleIsLoadedBeforeItsSettingsAreInPlace)
{
   createWithClient("local early = tostring(next(lorvexlua_settings))\n"
                    "return {getStaticDesc = function()\n"
                    "   return early .. ' ' .. lorvexlua_settings.a end}",
                    R"({"a":"b"})");
   EXPECT_EQ(staticDesc(0), "nil b");
}

TEST_F(CreateTranslator, AbsentSettingsAreAnEmptyTable)
{
   folder.write("client.lua", "return {getStaticDesc = function()\n"
                              "   return type(lorvexlua_settings) .. "
                              "tostring(next(lorvexlua_settings)) end}");
   create(R"({"lorvexlua_xlator":"client","lorvexlua_path":")" + folder.path() + "\"}");
   EXPECT_EQ(staticDesc(0), "tablenil");
}

TEST_F(CreateTranslator, ClientModuleIsTheGlobalTranslatorAndKnowsItsName)
{
   createWithClient("local M = {}\n"
                    "function M.getStaticDesc()\n"
                    "   return tostring(lorvexlua_xlator == M) .. ' ' .. lorvexlua_name\n"
                    "end\n"
                    "return M");
   EXPECT_EQ(staticDesc(0), "true dorvex_zerova");
}

TEST_F(CreateTranslator, CodesAreMappedByTheIdentityOnceTheClientIsLoaded)
{
   createWithClient("local early = tostring(dvxl_unmapErrorCode)\n"
                    "return {getStaticDesc = function(code)\n"
                    "   return early .. ' ' .. dvxl_unmapErrorCode(code) .. ' '\n"
                    "      .. dvxl_unmapErrorCode(4294967295) .. ' '\n"
                    "      .. tostring(pcall(dvxl_unmapErrorCode, 'x')) end}");
   EXPECT_EQ(staticDesc(-52006), "nil -52006 -1 false");
}

TEST_F(CreateTranslator, EveryLibraryIsThereWhole)
{
   createWithClient(R"(
      local M = {}
      function M.getStaticDesc()
         local missing = {}
         for name in string.gmatch("print dofile loadstring package.loadlib table.concat io.popen " ..
            "os.execute string.gsub math.sin debug.getregistry lfs.dir stdint.u64 cjson.encode " ..
            "lorvexluautils.expandPath", "%S+") do
            local value = _G
            for part in string.gmatch(name, "[^.]+") do value = value and value[part] end
            if type(value) ~= "function" then table.insert(missing, name) end
         end
         return "missing:" .. table.concat(missing, " ")
      end
      return M)");
   EXPECT_EQ(staticDesc(0), "missing:");
}

TEST_F(CreateTranslator, FileSystemLibraryHasAllThatScriptsForItsOlderVersionKnow)
{
   createWithClient(R"(
      return {getStaticDesc = function()
         local missing = lfs._VERSION
         for name in string.gmatch("attributes chdir currentdir dir lock lock_dir mkdir rmdir " ..
            "setmode symlinkattributes touch unlock", "%S+") do
            if type(lfs[name]) ~= "function" then missing = missing .. " without " .. name end
         end
         return missing
      end})");
   EXPECT_EQ(staticDesc(0), "LuaFileSystem 1.8.0");
}

TEST_F(CreateTranslator, CodecIsAGlobalAloneAndTheOtherModulesCanBeRequired)
{
   createWithClient("return {getStaticDesc = function()\n"
                    "   return tostring(pcall(require, 'cjson')) .. ' '\n"
                    "      .. tostring(require('lfs') == lfs) .. ' '\n"
                    "      .. tostring(require('stdint') == stdint) .. ' '\n"
                    "      .. tostring(require('lorvexluautils') == lorvexluautils) end}");
   EXPECT_EQ(staticDesc(0), "false true true true");
}

TEST_F(CreateTranslator, ModulesWaitCompiledUntilTheyAreRequired)
{
   createWithClient(R"(
      local names = {}
      local function state()
         local compiled, loaded = 0, {}
         for name in pairs(package.preload) do
            compiled = compiled + 1
            if package.loaded[name] then table.insert(loaded, name) end
         end
         table.sort(loaded)
         return compiled .. " " .. table.concat(loaded, " ")
      end
      return {getStaticDesc = state})");
   EXPECT_EQ(staticDesc(0), "12 json lorvexlua");
}

TEST_F(CreateTranslator, ScriptCannotLoadNativeCode)
{
   createWithClient("return {getStaticDesc = function()\n"
                    "   local ok, message = pcall(require, 'lpeg') return message end}");
   EXPECT_THAT(*staticDesc(0), Not(HasSubstr(".so")));
}

TEST_F(CreateTranslator, ClientThatRaisesTextIsTold)
{
   folder.write("client.lua", "error('no luck', 0)");
   create(R"({"lorvexlua_xlator":"client","lorvexlua_path":")" + folder.path() + "\"}");
   EXPECT_FALSE(translator);
   EXPECT_EQ(status("v.internal_error.string"), "no luck");
}

TEST_F(CreateTranslator, ClientThatRaisesANumberIsToldByItsText)
{
   folder.write("client.lua", "error(12.5, 0)");
   create(R"({"lorvexlua_xlator":"client","lorvexlua_path":")" + folder.path() + "\"}");
   EXPECT_FALSE(translator);
   EXPECT_EQ(status("v.internal_error.string"), "12.5");
}

TEST_F(CreateTranslator, ClientThatRaisesNoTextIsToldWithoutOne)
{
   for (const char* value : {"{}", "nil", "true", "print"}) {
      folder.write("client.lua", std::string("error(") + value + ")");
      HostStatus outcome;
      const std::string registration =
         R"({"lorvexlua_xlator":"client","lorvexlua_path":")" + folder.path() + "\"}";
      EXPECT_FALSE(lorvex_exported_create("dorvex_zerova", registration.c_str(), &outcome));
      EXPECT_EQ(outcome.code, -52003) << value;
      EXPECT_THAT(outcome.text(), HasSubstr(R"("internal_error":{"api":"lua","code":2},)"
                                            R"("lorvexlua_debug":{"debug":"lua setupEnv failed")"))
         << value;
   }
}

TEST_F(CreateTranslator, ClientWithASyntaxErrorIsTold)
{
   folder.write("client.lua", "return =");
   create(R"({"lorvexlua_xlator":"client","lorvexlua_path":")" + folder.path() + "\"}");
   EXPECT_FALSE(translator);
   EXPECT_THAT(status("v.internal_error.string"), StartsWith("error loading module 'client'"));
}

TEST_F(CreateTranslator, EndlessRecursionOfAClientIsAnError)
{
   folder.write("client.lua", "local function f() return 1 + f() end f()");
   create(R"({"lorvexlua_xlator":"client","lorvexlua_path":")" + folder.path() + "\"}");
   EXPECT_FALSE(translator);
   EXPECT_THAT(status("v.internal_error.string"), HasSubstr("stack overflow"));
}

TEST_F(CreateTranslator, TranslatorsShareNothing)
{
   createWithClient(
      "count = 0\n"
      "return {getStaticDesc = function() count = count + 1 return 'n' .. count end}");
   lorvex_Translator* const first = translator;
   translator = nullptr;
   createWithClient("return {getStaticDesc = function() return tostring(count) end}");
   EXPECT_EQ(staticDesc(0), "nil");
   destroy();
   translator = first;
   EXPECT_EQ(staticDesc(0), "n1");
   EXPECT_EQ(staticDesc(0), "n2");
}

} // namespace
