// How the translator script reads a status JSON.
#include "exports/lua_translator/host.h"
#include "support/matches_pattern.h"

namespace {

using testing::HasSubstr;
using testing::StartsWith;

class StatusJson : public TranslatorHost
{
protected:
   void SetUp() override { createWithSettings(""); }

   void createWithSettings(const std::string& settings)
   {
      create(R"({"lorvexlua_xlator":"dorvex","lorvexlua_path":")" + folder.path() +
             R"(","lorvexlua_settings":{)" + settings + "}}");
      ASSERT_TRUE(translator) << status.text();
   }

   // The description of a status JSON whose ordered data holds the entries.
   std::string describe(const std::string& entries, uint32_t langAndAde = 0)
   {
      const std::string text = R"({"translator_info":{"ordered_data":[)" + entries + "]}}";
      return dynamicDesc(text.c_str(), langAndAde).value_or("null: " + status.text());
   }

   // What the expression gives for it; r is its first row.
   std::string row(const std::string& entries, const std::string& expression,
                   uint32_t langAndAde = 0)
   {
      Json description(describe(entries, langAndAde));
      description("rawset(_G, 'r', v.dynamic[1])");
      return description(expression);
   }

   // Fails the call and tells the script's message.
   std::string failure(const char* errJson)
   {
      HostStatus outcome;
      EXPECT_FALSE(translator->getDynamicDesc(translator, errJson, 0, "json1", HostMemory::allocate,
                                              &memory, &outcome));
      EXPECT_EQ(outcome.code, -52003);
      EXPECT_EQ(outcome("v.lorvexlua_debug.debug"), "failed to get dynamic desc");
      return outcome("v.internal_error.string");
   }
};

TEST_F(StatusJson, EmptyObjectGivesOneDebugRow)
{
   const std::string text = *dynamicDesc("{}");
   EXPECT_THAT(text, MatchesPattern(R"(\{"dynamic":\[\],"debug":\[\{[^}]*"\{\}"[^}]*\}\]\})"));
   Json description(text);
   EXPECT_EQ(description("#v.debug"), "1");
   EXPECT_EQ(description("v.debug[1].type"), "usage");
   EXPECT_EQ(description("v.debug[1].key"), "rest_of_input_json");
   EXPECT_EQ(description("v.debug[1].value"), "{}");
}

TEST_F(StatusJson, OtherFormatIsRefusedBeforeAnythingIsDecoded)
{
   for (const char* format : {"json2", "JSON1", "json1 ", "", static_cast<const char*>(nullptr)}) {
      HostStatus outcome;
      EXPECT_FALSE(translator->getDynamicDesc(translator, "no JSON", 0, format,
                                              HostMemory::allocate, &memory, &outcome));
      EXPECT_EQ(outcome.code, -52029);
      EXPECT_EQ(outcome("v.error_constant"), "(int32_t)lua_tointeger(L, -1)");
      EXPECT_EQ(outcome("v.internal_error"), "nil");
   }
}

TEST_F(StatusJson, TextThatIsNoJsonFailsTheCall)
{
   EXPECT_THAT(failure("no JSON"), HasSubstr("Expected value but found invalid token"));
   EXPECT_THAT(failure(""), HasSubstr("Expected value but found T_END"));
   EXPECT_THAT(failure("{\"a\":}"), HasSubstr("Expected value but found T_OBJ_END"));
   EXPECT_THAT(failure(nullptr),
               HasSubstr("bad argument #1 to 'decode' (string expected, got nil)"));
   EXPECT_THAT(failure("[1,2"), HasSubstr("Expected comma or array end but found T_END"));
}

TEST_F(StatusJson, JsonThatIsNeitherObjectNorArrayFailsTheCall)
{
   for (const char* bare : {"5", "\"text\"", "true", "null"})
      EXPECT_THAT(failure(bare), HasSubstr("attempt to index")) << bare;
}

TEST_F(StatusJson, ArrayIsReadAsAnObjectWithoutTheKeys)
{
   Json description(*dynamicDesc("[1,2]"));
   EXPECT_EQ(description("v.debug[1].value"), "[1,2]");
}

TEST_F(StatusJson, TextNestedTooDeepFailsTheCall)
{
   const std::string deep = std::string(1001, '[') + std::string(1001, ']');
   EXPECT_THAT(failure(deep.c_str()), HasSubstr("Found too many nested data structures (1001)"));
   const std::string most = std::string(1000, '[') + std::string(1000, ']');
   EXPECT_TRUE(dynamicDesc(most.c_str()));
   const std::string deepest(100000, '[');
   EXPECT_THAT(failure(deepest.c_str()), HasSubstr("too many nested data structures"));
}

TEST_F(StatusJson, TenMegabytesAreDescribed)
{
   const std::string filler(10 * 1024 * 1024, '/');
   Json description(*dynamicDesc((R"({"filler":")" + filler + "\"}").c_str()));
   EXPECT_EQ(description("#v.debug[1].value"), std::to_string(filler.size() + 13));
}

TEST_F(StatusJson, BytesThatAreNoUtf8PassThrough)
{
   Json description(*dynamicDesc("{\"file\":\"\xFF\xC3\"}"));
   EXPECT_EQ(description("v.debug[1].value"), "\xFF\xC3");
}

TEST_F(StatusJson, EscapesInTheInputAreKeptAsText)
{
   Json description(*dynamicDesc(R"({"file":"a\"b\\c\/d\ne\u0000f\u00e9"})"));
   EXPECT_EQ(description("v.debug[1].value"), std::string("a\"b\\c/d\ne\0f\u00E9", 13));
}

TEST_F(StatusJson, SlashStaysAsItIs)
{
   const std::string text = *dynamicDesc(R"({"file":"lorvex/exported","path":"a/b"})");
   EXPECT_THAT(text, HasSubstr("lorvex/exported"));
   EXPECT_THAT(text, HasSubstr(R"({\"path\":\"a/b\"})"));
}

TEST_F(StatusJson, DebugRowsTellTheSiteInTheirOrder)
{
   Json description(*dynamicDesc(R"({"line":42,"file":"f","x":[1],"component":"zerovaapi"})"));
   EXPECT_EQ(description("#v.debug"), "4");
   EXPECT_EQ(description("v.debug[1].key .. ' ' .. v.debug[1].value"), "Component zerovaapi");
   EXPECT_EQ(description("v.debug[2].key .. ' ' .. v.debug[2].value"), "File f");
   EXPECT_EQ(description("v.debug[3].key .. ' ' .. v.debug[3].value"), "Line 42");
   EXPECT_EQ(description("type(v.debug[3].value)"), "string");
   EXPECT_EQ(description("v.debug[4].key .. ' ' .. v.debug[4].value"),
             R"(rest_of_input_json {"x":[1]})");
}

TEST_F(StatusJson, SiteIsTakenAsItIs)
{
   Json description(*dynamicDesc(R"({"component":null,"file":{"a":[1]},"line":"x"})"));
   EXPECT_EQ(description("v.debug[1].key"), "Component");
   EXPECT_EQ(description("type(v.debug[1].value)"), "userdata") << "null is there, and null again";
   EXPECT_EQ(description("v.debug[2].value.a[1]"), "1");
   EXPECT_EQ(description("v.debug[3].value"), "x");
   EXPECT_THAT(*dynamicDesc(R"({"component":null})"), HasSubstr(R"("value":null)"));
}

TEST_F(StatusJson, FalseCountsAsAbsent)
{
   Json description(*dynamicDesc(R"({"component":false,"file":false,"line":false})"));
   EXPECT_EQ(description("#v.debug .. v.debug[1].value"), "1{}");
}

TEST_F(StatusJson, TranslatorInfoIsNotPassedOn)
{
   Json description(*dynamicDesc(R"({"translator_info":{"other":1},"kept":2})"));
   EXPECT_EQ(description("#v.dynamic .. v.debug[1].value"), R"(0{"kept":2})");
}

TEST_F(StatusJson, UsageRowHasItsLabelAndItsValue)
{
   EXPECT_EQ(row(R"({"type":"usage","usage":"kUsageTypeDevice","value":"dev1"})",
                 "r.type .. ' ' .. r.key .. ' ' .. r.value"),
             "usage Device dev1");
}

TEST_F(StatusJson, LabelIsInTheLanguageAskedFor)
{
   const char* const kDevice[] = {"Device",
                                  "P\u00E9riph\u00E9rique",
                                  "Ger\u00E4t",
                                  "\u30C7\u30D0\u30A4\u30B9",
                                  "\uB514\uBC14\uC774\uC2A4",
                                  "\u8BBE\u5907"};
   for (uint32_t lang = 0; lang < 6; ++lang)
      EXPECT_EQ(row(R"({"type":"usage","usage":"kUsageTypeDevice","value":1})", "r.key", lang),
                kDevice[lang]);
}

TEST_F(StatusJson, UnknownLanguageIsDescribedInEnglish)
{
   for (const uint32_t lang : {6u, 9u, 255u})
      EXPECT_EQ(row(R"({"type":"usage","usage":"kUsageTypeDevice","value":1})", "r.key", lang),
                "Device");
}

TEST_F(StatusJson, KeyThatNoDictionaryHasIsShownRaw)
{
   EXPECT_EQ(row(R"({"type":"usage","usage":"kUsageTypeOfAnother","value":1})", "r.key", 2),
             "kUsageTypeOfAnother");
}

TEST_F(StatusJson, EmptyTextOfTheDictionaryIsAText)
{
   EXPECT_EQ(row(R"({"type":"header","usage":"kUsageTypeBlankLine"})", "'<' .. r.value .. '>'"),
             "<>");
}

TEST_F(StatusJson, UsageRowWithoutUsageHasNoKey)
{
   EXPECT_EQ(row(R"({"type":"usage","value":1})", "tostring(r.key) .. r.value"), "nil1");
}

TEST_F(StatusJson, LinesOfTextAreLookedUp)
{
   const std::string entries = R"({"type":"header","usage":"kAuxTermNone"},)"
                               R"({"type":"elaboration","usage":"kUsageTypeValue"},)"
                               R"({"type":"elaboration","usage":"free words"},{"type":"empty"})";
   EXPECT_EQ(row(entries, "r.type .. ' ' .. r.value"), "header none");
   EXPECT_EQ(row(entries, "v.dynamic[2].type .. ' ' .. v.dynamic[2].value"), "elaboration Value");
   EXPECT_EQ(row(entries, "v.dynamic[3].value"), "free words");
   EXPECT_THAT(describe(entries), HasSubstr(R"({"type":"empty"})"));
}

TEST_F(StatusJson, EntryOfAnotherTypeIsSkipped)
{
   EXPECT_EQ(row(R"({"type":"other","usage":"x"},{"usage":"y"},{"type":5},{"type":null},)"
                 R"({"type":"empty"})",
                 "#v.dynamic .. r.type"),
             "1empty");
}

TEST_F(StatusJson, RowsStandInTheOrderOfTheEntries)
{
   std::string entries;
   std::string expected;
   for (int i = 0; i < 50; ++i) {
      entries += (i ? "," : "") + std::string(R"({"type":"usage","usage":"k","value":)") +
                 std::to_string(i) + "}";
      expected += std::to_string(i) + " ";
   }
   EXPECT_EQ(row(entries, "(function() local t = '' for _, x in ipairs(v.dynamic) do "
                          "t = t .. x.value .. ' ' end return t end)()"),
             expected);
}

TEST_F(StatusJson, OrderedDataThatIsAnObjectIsWalkedAllTheSame)
{
   Json description(*dynamicDesc(
      R"({"translator_info":{"ordered_data":{"a":{"type":"empty"},"b":{"type":"empty"}}}})"));
   EXPECT_EQ(description("#v.dynamic"), "2");
}

TEST_F(StatusJson, ValueIsShownAsLuaShowsIt)
{
   const char* const kCases[][2] = {{"42", "42"},
                                    {"-0.5", "-0.5"},
                                    {"1234567890123456", "1.2345678901235e+15"},
                                    {"true", "true"},
                                    {"\"text\"", "text"}};
   for (const auto& [value, shown] : kCases)
      EXPECT_EQ(
         row(std::string(R"({"type":"usage","usage":"k","value":)") + value + "}", "r.value"),
         shown);
}

TEST_F(StatusJson, NullValueIsTheTextOfALightUserdata)
{
   EXPECT_THAT(row(R"({"type":"usage","usage":"k","value":null})", "r.value"),
               StartsWith("userdata: "));
}

TEST_F(StatusJson, ArrayOfValuesIsAnArrayOfTexts)
{
   EXPECT_EQ(
      row(R"({"type":"usage","usage":"k","value":[1,"b",true]})", "table.concat(r.value, ' ')"),
      "1 b true");
}

TEST_F(StatusJson, EmptyArrayIsWrittenAsAnObject)
{
   EXPECT_THAT(describe(R"({"type":"usage","usage":"k","value":[]})"), HasSubstr(R"("value":{})"));
}

TEST_F(StatusJson, AttributeWithoutARowIsShownByItsNumber)
{
   for (const char* usage : {"kUsageTypeAttributeId", "kUsageTypeAttributeIdentifier",
                             "kUsageTypeAffectedAttribute", "kUsageTypeConflictingAttr",
                             "kUsageTypeConflictingProperty", "kUsageTypeUnspecifiedProperty"})
      EXPECT_EQ(
         row(std::string(R"({"type":"usage","usage":")") + usage + R"(","value":1234})", "r.value"),
         "0x000004D2")
         << usage;
   EXPECT_EQ(row(R"({"type":"usage","usage":"kUsageTypeProperty","value":1234})", "r.value"),
             "1234");
}

TEST_F(StatusJson, AttributeNumberShowsItsLow32Bits)
{
   const char* const kCases[][2] = {
      {"-1", "0xFFFFFFFF"},         {"-2147483648", "0x80000000"},  {"4294967295", "0xFFFFFFFF"},
      {"4294967296", "0x00000000"}, {"4294967297.9", "0x00000001"}, {"-1.9", "0xFFFFFFFF"},
      {"-0.9", "0x00000000"},       {"1e300", "0x00000000"},        {"\"1234\"", "0x000004D2"},
      {"\"0x10\"", "0x00000010"},   {"NaN", "0x00000000"},          {"-Infinity", "0x00000000"}};
   for (const auto& [number, shown] : kCases)
      EXPECT_EQ(row(std::string(R"({"type":"usage","usage":"kUsageTypeAttributeId","value":)") +
                       number + "}",
                    "r.value"),
                shown)
         << number;
}

TEST_F(StatusJson, ArrayOfAttributesIsAnArrayOfTheirNames)
{
   EXPECT_EQ(row(R"({"type":"usage","usage":"kUsageTypeAttributeId","value":[1,"2"]})",
                 "table.concat(r.value, ' ')"),
             "0x00000001 0x00000002");
}

TEST_F(StatusJson, AttributeThatIsNoNumberFailsTheCall)
{
   for (const char* value : {"\"x\"", "null", "true", "[{}]"})
      EXPECT_THAT(failure((std::string(R"({"translator_info":{"ordered_data":[{"type":"usage",)"
                                       R"("usage":"kUsageTypeAttributeId","value":)") +
                           value + "}]}}")
                             .c_str()),
                  HasSubstr("bad argument #2 to 'format' (number expected, got nil)"))
         << value;
}

TEST_F(StatusJson, EnumerationWithoutARowIsShownByItsValue)
{
   EXPECT_EQ(row(R"({"type":"usage","usage":"k","value":7,"value_type":{"type":"enum","id":5}})",
                 "r.value"),
             "7");
}

TEST_F(StatusJson, OtherValueTypeLeavesTheRowWithoutAValue)
{
   for (const char* type : {R"({"type":"other"})", "{}", "[]"})
      EXPECT_EQ(
         row(std::string(R"({"type":"usage","usage":"k","value":7,"value_type":)") + type + "}",
             "tostring(r.value) .. r.key"),
         "nilk")
         << type;
   EXPECT_EQ(row(R"({"type":"usage","usage":"k","value":7,"value_type":"enum"})", "r.value"), "7");
}

class Attributes : public StatusJson
{
protected:
   static constexpr const char* kTable = R"(
      local rows = {["0000000A"] = {shortName = "%s", enums = {["7"] = "seven", ["true"] = "yes"}},
                    ["0000000B"] = {enums = {}}}
      return {encoding = "utf-8", getAttribute = function(id) return rows[id] end})";

   void writeTable(const std::string& suffix)
   {
      std::string text = kTable;
      text.replace(text.find("%s"), 2, suffix);
      folder.write("zerova_attributes_" + suffix + ".lua", text);
   }

   std::string shortName(uint32_t langAndAde)
   {
      return row(R"({"type":"usage","usage":"kUsageTypeAttributeId","value":10})", "r.value",
                 langAndAde);
   }

   void SetUp() override { createWithSettings(R"("driverName":"zerova")"); }
};

TEST_F(Attributes, TableOfTheDriverNamesAttributesAndTheirValues)
{
   writeTable("eng");
   EXPECT_EQ(shortName(0), "eng");
   EXPECT_EQ(row(R"({"type":"usage","usage":"kUsageTypeAttributeId","value":11})", "r.value"),
             "11");
   EXPECT_EQ(row(R"({"type":"usage","usage":"kUsageTypeAttributeId","value":[10,12]})",
                 "table.concat(r.value, ' ')"),
             "eng 0x0000000C");
   EXPECT_EQ(row(R"({"type":"usage","usage":"k","value":7,"value_type":{"type":"enum","id":10}})",
                 "r.value"),
             "seven");
   EXPECT_EQ(row(R"({"type":"usage","usage":"k","value":[7,8,true],)"
                 R"("value_type":{"type":"enum","id":"10"}})",
                 "table.concat(r.value, ' ')"),
             "seven 8 yes");
}

// Each table is asked for before those that follow, so they are laid out from the last to the
// first.
TEST_F(Attributes, TablesAreTriedFromTheMostToTheLeastParticular)
{
   const uint32_t german = LORVEX_LANG_AND_ADE(lorvex_languageGerman, lorvex_environmentTolm);
   EXPECT_EQ(shortName(german), "0x0000000A");
   for (const char* suffix : {"eng", "deu", "eng_tolm", "deu_tolm"}) {
      writeTable(suffix);
      createWithSettings(R"("driverName":"zerova")");
      EXPECT_EQ(shortName(german), suffix);
   }
   EXPECT_EQ(shortName(LORVEX_LANG_AND_ADE(2, 0)), "deu");
   EXPECT_EQ(shortName(LORVEX_LANG_AND_ADE(2, 1)), "deu");
   EXPECT_EQ(shortName(LORVEX_LANG_AND_ADE(1, 2)), "eng_tolm");
   EXPECT_EQ(shortName(LORVEX_LANG_AND_ADE(1, 0)), "eng");
   EXPECT_EQ(shortName(LORVEX_LANG_AND_ADE(9, 0)), "eng");
}

TEST_F(Attributes, TableOfNoEnvironmentIsNotTried)
{
   const uint32_t german = LORVEX_LANG_AND_ADE(lorvex_languageGerman, lorvex_environmentNone);
   writeTable("deu_none");
   writeTable("eng_none");
   EXPECT_EQ(shortName(german), "0x0000000A");
   writeTable("deu");
   createWithSettings(R"("driverName":"zerova")");
   EXPECT_EQ(shortName(german), "deu");
}

TEST_F(Attributes, WithoutADriversNameNoTableIsTried)
{
   writeTable("eng");
   createWithSettings("");
   EXPECT_EQ(shortName(LORVEX_LANG_AND_ADE(0, 2)), "0x0000000A");
   EXPECT_EQ(shortName(LORVEX_LANG_AND_ADE(0, 15)), "0x0000000A");
   EXPECT_EQ(status.code, 0);
}

TEST_F(Attributes, UnknownEnvironmentFailsTheCallOfADriver)
{
   EXPECT_THAT(describe("", LORVEX_LANG_AND_ADE(0, 4)),
               HasSubstr("attempt to concatenate local 'adeName' (a nil value)"));
   EXPECT_EQ(status.code, -52003);
}

TEST_F(Attributes, TableOfAnotherEncodingFailsTheCallThatNeedsIt)
{
   folder.write("zerova_attributes_eng.lua", "return {encoding = 'latin1'}");
   EXPECT_EQ(row(R"({"type":"usage","usage":"k","value":7})", "r.value"), "7");
   EXPECT_THAT(describe(R"({"type":"usage","usage":"kUsageTypeAttributeId","value":10})"),
               HasSubstr("Unsupported encoding"));
   EXPECT_EQ(status.code, -52003);
}

TEST_F(Attributes, TableThatCouldNotBeLoadedIsTriedAgainWithTheNextCall)
{
   EXPECT_EQ(shortName(0), "0x0000000A");
   writeTable("eng");
   EXPECT_EQ(shortName(0), "eng");
}

TEST_F(StatusJson, WithoutAnyAttributeTableTheDebugRowsTellIt)
{
   folder.write("client.lua", R"(
      package.preload.dvxl_defaultAttrTable = nil
      return require("dorvex"))");
   create(R"({"lorvexlua_xlator":"client","lorvexlua_path":")" + folder.path() + "\"}");
   const std::string entries = R"({"type":"usage","usage":"kUsageTypeAttributeId","value":1234})";
   EXPECT_EQ(row(entries, "r.value"), "0x000004D2");
   EXPECT_EQ(row(entries, "v.debug[1].key .. ': ' .. v.debug[1].value"),
             "internal_error_string: Cannot load dvxl_defaultAttrTable\n");
   EXPECT_EQ(row(entries, "v.debug[2].key"), "rest_of_input_json");
}

TEST_F(StatusJson, WithoutAnyDictionaryKeysAreShownRaw)
{
   folder.write("client.lua", R"(
      package.preload.commonTerms_eng, package.preload.commonTerms_deu = nil, nil
      return require("dorvex"))");
   create(R"({"lorvexlua_xlator":"client","lorvexlua_path":")" + folder.path() + "\"}");
   const std::string entries = R"({"type":"usage","usage":"kUsageTypeDevice","value":1})";
   EXPECT_EQ(row(entries, "r.key", 2), "kUsageTypeDevice");
   EXPECT_EQ(row(entries, "r.key", 1), "P\u00E9riph\u00E9rique");
}

TEST_F(StatusJson, LanguageWithoutItsDictionaryUsesTheEnglishOne)
{
   folder.write("client.lua", R"(
      package.preload.commonTerms_deu = nil
      return require("dorvex"))");
   create(R"({"lorvexlua_xlator":"client","lorvexlua_path":")" + folder.path() + "\"}");
   EXPECT_EQ(row(R"({"type":"usage","usage":"kUsageTypeDevice","value":1})", "r.key", 2), "Device");
}

TEST_F(StatusJson, DictionaryOfAnotherEncodingFailsTheCallThatNeedsIt)
{
   folder.write("client.lua", R"(
      package.preload.commonTerms_eng = function() return {encoding = "latin1"} end
      return require("dorvex"))");
   create(R"({"lorvexlua_xlator":"client","lorvexlua_path":")" + folder.path() + "\"}");
   EXPECT_TRUE(dynamicDesc("{}"));
   EXPECT_THAT(describe(R"({"type":"header","usage":"x"})"), HasSubstr("Unsupported encoding"));
}

TEST_F(StatusJson, DictionaryRunsOnceInATranslator)
{
   folder.write("client.lua", R"(
      local dorvex = require("dorvex")
      return {getDynamicDesc = dorvex.getDynamicDesc, getStaticDesc = function(code)
         if code == 1 then first = package.loaded.commonTerms_eng end
         return tostring(first ~= nil and first == package.loaded.commonTerms_eng) end})");
   create(R"({"lorvexlua_xlator":"client","lorvexlua_path":")" + folder.path() + "\"}");
   EXPECT_EQ(staticDesc(0), "false");
   EXPECT_TRUE(dynamicDesc("{}"));
   EXPECT_EQ(staticDesc(1), "true");
   EXPECT_TRUE(dynamicDesc("{}"));
   EXPECT_EQ(staticDesc(0), "true");
}

} // namespace
