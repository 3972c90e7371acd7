// The scripts by themselves, in a state that nobody has set up for them.
#include "lorvexlua/embedded_modules.h"
#include "lorvexlua/native_modules.h"

#include "unit/lorvexlua/script_state.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

namespace {

using testing::AllOf;
using testing::HasSubstr;

constexpr const char* kUtilNames = "compare_values file_load file_save run_script run_test "
                                   "run_test_group run_test_summary serialise_value";

class Scripts : public testing::Test
{
protected:
   Scripts()
   {
      state.open(lorvexlua_openStdint, "stdint");
      state.open(lorvexlua_openLorvexluautils, "lorvexluautils");
      state.open(lorvexlua_openCjson, "cjson");
      lorvexlua_addEmbeddedModules(state.L);
      state.run("dvxl_unmapErrorCode = function(code) return code end");
   }

   // Sets up the environment with the translator script.
   void setUp(const std::string& settings = "{}")
   {
      lua_pushstring(state.L, settings.c_str());
      lua_setglobal(state.L, "settings");
      ASSERT_EQ(state.run("require('lorvexlua')\n"
                          "lorvexlua_setupEnv('plain', "
                          "'{\"lorvexlua_xlator\":\"dorvex\",\"lorvexlua_settings\":' .. "
                          "settings .. '}')"),
                "");
   }

   void forgetDictionaries()
   {
      state.run("for name in pairs(package.preload) do\n"
                "   if name:find('^commonTerms_') then package.preload[name] = nil end end");
   }

   std::string describe(const std::string& errJson, const std::string& arguments = "0, 0, 'json1'")
   {
      lua_pushstring(state.L, errJson.c_str());
      lua_setglobal(state.L, "errJson");
      return state.eval("dorvex.getDynamicDesc(errJson, " + arguments + ")");
   }

   ScriptState state;
};

TEST_F(Scripts, DescribeAStatusJsonWithRawKeys)
{
   setUp();
   forgetDictionaries();
   EXPECT_THAT(describe(R"({"translator_info":{"ordered_data":[)"
                        R"({"type":"header","usage":"kUsageTypeDevice"}]},"line":1})"),
               AllOf(HasSubstr(R"("value":"kUsageTypeDevice")"),
                     HasSubstr(R"("key":"rest_of_input_json")")));
}

TEST_F(Scripts, AnswerAnotherFormatWithItsCode)
{
   setUp();
   EXPECT_EQ(describe("no JSON", "0, 0, 'xml'"), "-52029");
   EXPECT_EQ(describe("no JSON", "0, 0"), "-52029");
}

TEST_F(Scripts, DescribeABareCode)
{
   setUp(R"({"trvSharedErrorsDir":"/nowhere"})");
   EXPECT_EQ(state.eval("dorvex.getStaticDesc(-1, 0, 0)"), "Error description not found");
}

TEST_F(Scripts, HostScriptSetsItsGlobals)
{
   EXPECT_EQ(state.run("require('lorvexlua')\n"
                       "return lorvexlua_name, lorvexlua_xlator, type(lorvexlua_settings), "
                       "next(lorvexlua_settings), package.loaded.lorvexlua"),
             "nil nil table nil true");
   setUp(R"({"driverName":"x"})");
   EXPECT_EQ(
      state.eval("lorvexlua_name, lorvexlua_xlator == dorvex, lorvexlua_settings.driverName, "
                 "package.path, package.cpath"),
      "plain true x  ");
}

TEST_F(Scripts, MessageHandlerAddsTheTraceback)
{
   setUp();
   EXPECT_THAT(state.eval("lorvexlua_errHandler('what')"),
               testing::StartsWith("what\nstack traceback:\n"));
}

TEST_F(Scripts, WorkingValuesAreGlobalsOfTheLastCall)
{
   setUp(R"({"driverName":"drv","trvSharedErrorsDir":"/x","AuxErrorsDir":"/aux"})");
   describe(R"({"translator_info":{"ordered_data":[{"type":"elaboration","usage":"words"},)"
            R"({"type":"usage","usage":"kUsageTypeAttributeId","value":1}]}})",
            "2, 1, 'json1'");
   EXPECT_EQ(state.eval("success, attr_table == dvxl_defaultAttrTable, attribute_table_name, "
                        "common_terms == usageTypes_deu, common_terms_name, "
                        "internal_error_string, elaborationString, attrIDType"),
             "true true dvxl_defaultAttrTable true commonTerms_deu  words true");
   state.eval("dorvex.getStaticDesc(-1, 1, 0)");
   const std::string separator = state.eval("string.sub(package.config, 1, 1)");
   EXPECT_EQ(state.eval("error_file_dir"), "\\aux" + separator + "drv" + separator + "English");
}

TEST_F(Scripts, EachCallStartsWithFreshWorkingValues)
{
   setUp();
   state.run("empty = package.preload.dvxl_defaultAttrTable\n"
             "package.preload.dvxl_defaultAttrTable = nil");
   EXPECT_THAT(describe("{}"), HasSubstr("Cannot load"));
   state.run("package.preload.dvxl_defaultAttrTable = empty");
   EXPECT_THAT(describe("{}"), testing::Not(HasSubstr("Cannot load")));
}

TEST_F(Scripts, LanguageNamesAreConvertedBothWays)
{
   state.run("require('dvxl_utilities')");
   EXPECT_EQ(state.run(R"(
      local pairs = {}
      for short in string.gmatch("eng fra deu jpn kor chs zzz", "%S+") do
         table.insert(pairs, dvxl_utilities.convertLangShortToLong(short))
      end
      for long in string.gmatch("English French German Japanese Korean ChineseS", "%S+") do
         table.insert(pairs, dvxl_utilities.convertLangLongToShort(long))
      end
      return table.concat(pairs, " "))"),
             "English French German Japanese Korean ChineseS Zzzzzzz eng fra deu jpn kor chs");
}

TEST_F(Scripts, UnknownLanguageNameGivesTheAnswerOfTheCallBefore)
{
   state.run("require('dvxl_utilities')");
   EXPECT_EQ(state.eval("dvxl_utilities.convertLangShortToLong('xxx'), "
                        "dvxl_utilities.convertLangLongToShort('Klingon')"),
             "nil nil");
   state.eval("dvxl_utilities.convertLangShortToLong('deu')");
   state.eval("dvxl_utilities.convertLangLongToShort('French')");
   EXPECT_EQ(state.eval("dvxl_utilities.convertLangShortToLong('xxx'), longname"), "German German");
   EXPECT_EQ(state.eval("dvxl_utilities.convertLangLongToShort('Zzzzzzz'), shortname"), "fra fra");
}

TEST_F(Scripts, DefaultAttributeTableKnowsNoAttribute)
{
   EXPECT_EQ(state.run("local module = require('dvxl_defaultAttrTable')\n"
                       "return module == dvxl_defaultAttrTable, module.encoding, "
                       "module.getAttribute('000004D2'), module.getAttribute()"),
             "true utf-8 nil nil");
}

TEST_F(Scripts, EveryModuleThatReturnsItselfIsAGlobalToo)
{
   EXPECT_EQ(state.eval("require('dorvex') == dorvex, require('dvxl_utilities') == dvxl_utilities"),
             "true true");
}

// The scripts are a contract with states that offer no more than this.
TEST_F(Scripts, SystemsOwnScriptsUseTheirFacilitiesAlone)
{
   EXPECT_EQ(state.run(R"(
      local allowed = {}
      for name in string.gmatch("require pcall assert tonumber tostring type pairs ipairs package " ..
         "string table debug cjson lorvexluautils dvxl_utilities dvxl_unmapErrorCode dorvex " ..
         "dvxl_defaultAttrTable lorvexlua_name lorvexlua_xlator lorvexlua_settings " ..
         "lorvexlua_setupEnv success attr_table attribute_table_name common_terms " ..
         "common_terms_name internal_error_string elaborationString attrIDType error_file_dir " ..
         "longname shortname", "%S+") do
         allowed[name] = true
      end
      local strange = {}
      local watched = setmetatable({}, {
         __index = function(_, name)
            if not allowed[name] then strange[name] = true end
            return _G[name]
         end,
         __newindex = _G})
      for _, name in ipairs{"lorvexlua", "dorvex", "dvxl_utilities", "dvxl_defaultAttrTable"} do
         setfenv(package.preload[name], watched)
      end
      require("lorvexlua")
      lorvexlua_setupEnv("x", [[{"lorvexlua_xlator":"dorvex","lorvexlua_path":"/a;/b",
         "lorvexlua_settings":{"driverName":"d","trvSharedErrorsDir":"/x","AuxErrorsDir":"/y"}}]])
      dorvex.getStaticDesc(-1, 9, 0)
      dorvex.getDynamicDesc([[{"component":"c","translator_info":{"ordered_data":[
         {"type":"usage","usage":"kUsageTypeAttributeId","value":[1]},{"type":"header"}]}}]],
         2, 2, "json1")
      local names = {}
      for name in pairs(strange) do table.insert(names, name) end
      return table.concat(names, " "))"),
             "");
}

class SupportModule : public Scripts
{
protected:
   // Runs the text as the module util, in a state in which the codec can be required.
   std::string namesOf(const std::string& text)
   {
      lua_pushlstring(state.L, text.data(), text.size());
      lua_setglobal(state.L, "text");
      return state.run(R"(
         package.loaded.cjson = cjson
         util = assert(loadstring(text))()
         local names = {}
         for name, value in pairs(util) do
            if type(value) == "function" then table.insert(names, name) end
         end
         table.sort(names)
         return table.concat(names, " "))");
   }

   std::string sourceText()
   {
      std::ifstream file(ZEROVA_SCRIPTS_DIR "/util.lua");
      std::ostringstream text;
      text << file.rdbuf();
      return text.str();
   }
};

TEST_F(SupportModule, OffersItsNames)
{
   EXPECT_EQ(namesOf(sourceText()), kUtilNames);
}

TEST_F(SupportModule, BeginsByRequiringTheCodec)
{
   EXPECT_EQ(sourceText().substr(0, 29), "local cjson = require \"cjson\"");
}

TEST_F(SupportModule, DoesWhatItsNamesSay)
{
   namesOf(sourceText());
   EXPECT_EQ(state.eval("util.serialise_value({1, {a = 'x'}, cjson.null}, false)"),
             "{ 1, { [\"a\"] = \"x\" }, json.null }");
   EXPECT_EQ(state.eval("util.serialise_value({1})"), "{\n  1\n}");
   EXPECT_EQ(state.eval("util.compare_values({a = {1, 0/0}}, {a = {1, 0/0}}), "
                        "util.compare_values({1}, {1, 2}), util.compare_values({1, 2}, {1})"),
             "true false false");
   EXPECT_EQ(state.eval("util.run_script('a = 1').a"), "1");
   testing::internal::CaptureStdout();
   state.run("util.run_test_group{{'prepared', function() end},\n"
             "   {'right', function(a) return a + 1 end, {1}, true, {2}},\n"
             "   {'wrong', function() error('x', 0) end, {}, true, {2}}}");
   fflush(stdout);
   EXPECT_THAT(testing::internal::GetCapturedStdout(),
               AllOf(HasSubstr("[1] right: PASS"), HasSubstr("[2] wrong: FAIL")));
   EXPECT_EQ(state.eval("util.run_test_summary()"), "1 2");
}

TEST_F(SupportModule, SavesAndLoadsFiles)
{
   namesOf(sourceText());
   EXPECT_EQ(state.run("local name = os.tmpname()\n"
                       "util.file_save(name, 'a\\0b')\n"
                       "local text = util.file_load(name)\n"
                       "os.remove(name)\n"
                       "return #text, (pcall(util.file_load, name))"),
             "3 false");
}

} // namespace
