// A host whose locale has other numbers, letters and order of texts: everything that a translator
// reads and writes is as in the locale "C", whenever the locale is set and for whichever thread.
#include "exports/lua_translator/host.h"
#include "support/other_locale.h"

#include <memory>
#include <thread>
#include <vector>

namespace {

using testing::HasSubstr;

// Numbers and letters in every way in which they can come into a text.
constexpr const char* kClient = R"(
   local half = 1.5
   local M = {}
   local function all()
      local sorted = {"b", "B", "a", "\196", "A", "z"}
      table.sort(sorted)
      return table.concat({half, tostring(-half / 4), string.format("%g %.2f %10.3e|%-9.1f|%+G %05.1f",
         half, half, half, half, half, half), tostring(tonumber("2.5")), tostring(tonumber("2,5")),
         tostring(tonumber("0x1F")), tostring(tonumber("1e-2")), tostring("0.25" + 1),
         lorvexlua_settings.number * 2, lorvexlua_settings.text,
         assert(loadstring("return 3.25e1"))(), tostring(loadstring("return 3,5") ~= nil),
         tostring(loadstring("\196 = 1")), string.upper("i\228"), string.lower("I\196"),
         tostring(string.find("\196", "%a")), tostring(string.find("\196\160", "[%w%s%p%l%u]")),
         table.concat(sorted), tostring("\196" < "z"), tostring("a" < "B"),
         tostring(stdint.u64("12")), tostring(stdint.i64(-1.5)), stdint.u64(255):hexstring(),
         cjson.encode({half, -half}), cjson.decode("[12.75,1e3]")[1],
         tostring(1e15 + 0.5), tostring(2^53), tostring(1e300)}, " ")
   end
   function M.getStaticDesc(code)
      if code == 1 then return half end
      if code == 2 then lorvexlua_errHandler = nil error(half, 0) end
      return all()
   end
   function M.getDynamicDesc(json)
      local v = cjson.decode(json)
      return cjson.encode({v, v[1] + 0.25})
   end
   return M)";

constexpr const char* kNumbers = "[0.5,-1.25e-3,1234567.875,7]";

// What the translators of a test are asked for.
struct Texts
{
   std::string ofScript;
   std::string ofNumber;
   std::string ofJson;
   std::string ofFailure;

   bool operator==(const Texts&) const = default;
   friend std::ostream& operator<<(std::ostream& out, const Texts& texts)
   {
      return out << texts.ofScript << '\n'
                 << texts.ofNumber << '\n'
                 << texts.ofJson << '\n'
                 << texts.ofFailure;
   }
};

class LocaleOfTheHost : public TranslatorHost, public testing::WithParamInterface<OtherLocale>
{
protected:
   void createClient() { createWithClient(kClient, R"({"number":1.5,"text":"2.5"})"); }

   Texts texts()
   {
      Texts given;
      if (!translator) return given;
      given.ofScript = staticDesc(0).value_or("none");
      given.ofNumber = staticDesc(1).value_or("none");
      given.ofJson = dynamicDesc(kNumbers).value_or("none");
      staticDesc(2); // takes the message handler away
      HostStatus failed;
      translator->getStaticDesc(translator, 2, 0, HostMemory::allocate, &memory, &failed);
      given.ofFailure = failed.text().substr(failed.text().find("internal_error"));
      status.code = 0;
      return given;
   }

   Texts usualTexts()
   {
      createClient();
      return texts();
   }
};

INSTANTIATE_TEST_SUITE_P(All, LocaleOfTheHost,
                         testing::Values(OtherLocale::german, OtherLocale::pashto,
                                         OtherLocale::turkish),
                         [](const auto& each) {
                            return std::string(nameOf(each.param)).substr(0, 2);
                         });

TEST_P(LocaleOfTheHost, UsualTextsAreTheseOfTheLocaleC)
{
   const Texts usual = usualTexts();
   EXPECT_THAT(usual.ofScript, testing::StartsWith("1.5 -0.375 1.5 1.50  1.500e+00|1.5      |+1.5 "
                                                   "001.5 2.5 nil 31 0.01 1.25 3 2.5 32.5 "));
   EXPECT_EQ(usual.ofNumber, "1.5");
   EXPECT_EQ(usual.ofJson, "[[0.5,-0.00125,1234567.875,7],0.75]");
   EXPECT_THAT(usual.ofFailure, HasSubstr(R"("string":"1.5")"));
}

TEST_P(LocaleOfTheHost, TranslatorMadeBeforeItIsSetGivesTheSameTexts)
{
   const Texts usual = usualTexts();
   createClient();
   const ProcessLocale other(GetParam());
   EXPECT_EQ(texts(), usual);
}

TEST_P(LocaleOfTheHost, TranslatorMadeInItGivesTheSameTexts)
{
   const Texts usual = usualTexts();
   const ProcessLocale other(GetParam());
   createClient();
   EXPECT_EQ(texts(), usual);
}

TEST_P(LocaleOfTheHost, TranslatorMadeInItGivesTheSameTextsWhenItIsGone)
{
   const Texts usual = usualTexts();
   {
      const ProcessLocale other(GetParam());
      createClient();
   }
   EXPECT_EQ(texts(), usual);
}

TEST_P(LocaleOfTheHost, LocaleOfOneThreadLeavesTheTranslatorsOfOthersAlone)
{
   const Texts usual = usualTexts();
   createClient();
   std::thread([&] {
      const ThreadLocale other(GetParam());
      HostStatus own;
      HostMemory block;
      lorvex_Translator* const mine = lorvex_exported_create(
         "dorvex_zerova", R"({"lorvexlua_xlator":"dorvex","lorvexlua_settings":{"n":0.5}})", &own);
      ASSERT_NE(mine, nullptr) << own.text();
      const char* const text = mine->getDynamicDesc(mine, R"({"line":1.5,"x":[2.25,3]})", 0,
                                                    "json1", HostMemory::allocate, &block, &own);
      ASSERT_NE(text, nullptr) << own.text();
      EXPECT_THAT(std::string(text), HasSubstr(R"({\"x\":[2.25,3]})"));
      mine->destroy(mine);
   }).join();
   EXPECT_EQ(texts(), usual);
}

TEST_P(LocaleOfTheHost, TranslatorServesThreadsOfEitherLocale)
{
   const Texts usual = usualTexts();
   createClient();
   Texts ofThread;
   std::thread([&] {
      const ThreadLocale other(GetParam());
      ofThread = texts();
      createClient();
   }).join();
   EXPECT_EQ(ofThread, usual);
   EXPECT_EQ(texts(), usual);
}

// The library's own report, in which numbers are followed by commas.
TEST_P(LocaleOfTheHost, StatusOfTheLibraryIsDescribed)
{
   create(R"({"lorvexlua_xlator":"dorvex"})");
   ASSERT_TRUE(translator) << status.text();
   HostStatus failed;
   const ProcessLocale other(GetParam());
   for (const bool isMadeInIt : {false, true}) {
      if (isMadeInIt) create(R"({"lorvexlua_xlator":"dorvex"})");
      EXPECT_FALSE(lorvex_exported_create("no translator has this name", "{}", &failed));
      const auto description = dynamicDesc(failed.json);
      ASSERT_TRUE(description) << status.text();
      EXPECT_THAT(*description, HasSubstr(R"("key":"Line")"));
   }
}

TEST_P(LocaleOfTheHost, RowsHaveTheSameNumbers)
{
   const std::string errJson =
      R"({"line":1.5,"x":0.25,"translator_info":{"ordered_data":[)"
      R"({"type":"usage","usage":"kUsageTypeVoltage","value":[-0.5,1e-7]},)"
      R"({"type":"usage","usage":"kUsageTypeAttributeId","value":"12.5"}]}})";
   create(R"({"lorvexlua_xlator":"dorvex"})");
   const auto usual = dynamicDesc(errJson.c_str());
   const ProcessLocale other(GetParam());
   EXPECT_EQ(dynamicDesc(errJson.c_str()), usual);
   create(R"({"lorvexlua_xlator":"dorvex","lorvexlua_settings":{"unused":1.5}})");
   ASSERT_TRUE(translator) << status.text();
   EXPECT_EQ(dynamicDesc(errJson.c_str()), usual);
   EXPECT_THAT(usual.value_or(""), HasSubstr(R"(["-0.5","1e-07"])"));
   EXPECT_THAT(usual.value_or(""), HasSubstr("0x0000000C"));
}

TEST_P(LocaleOfTheHost, ScriptThatSetsItChangesNoNumber)
{
   const Texts usual = usualTexts();
   const std::string name = nameOf(GetParam());
   createWithClient("local before = os.setlocale(nil)\n"
                    "assert(os.setlocale('" +
                       name + "'))\n" + kClient,
                    R"({"number":1.5,"text":"2.5"})");
   const Texts ofScript = texts();
   createClient();
   const Texts ofTheNext = texts();
   std::setlocale(LC_ALL, "C");
   EXPECT_EQ(ofScript, usual);
   EXPECT_EQ(ofTheNext, usual);
}

TEST_P(LocaleOfTheHost, FilesHaveTheSameNumbers)
{
   folder.write("numbers.txt", "2.5 -1e2\n0x10 .75");
   const ProcessLocale other(GetParam());
   createWithClient("return {getStaticDesc = function()\n"
                    "   local name = [[" +
                    folder.path("written.txt") +
                    "]]\n"
                    "   local file = io.open(name, 'w')\n"
                    "   file:write(1.5, ' ', -2, ' ', 1e-5)\n"
                    "   file:close()\n"
                    "   local text = io.open(name):read('*a')\n"
                    "   local a, b, c, d = io.open([[" +
                    folder.path("numbers.txt") +
                    "]]):read('*n', '*n', '*n', '*n')\n"
                    "   return text .. '|' .. table.concat({a, b, c, d}, ' ') end}");
   EXPECT_EQ(staticDesc(0), "1.5 -2 1e-05|2.5 -100 16 0.75");
}

// Tags, numbers and names of folders, without regard to case.
TEST_P(LocaleOfTheHost, ErrorFilesReadTheSame)
{
   folder.write("ERRORS/english/a.txt", "<?XML VERSION=\"1.0\"?>\n<TVDOCUMENT>\n"
                                        "<TVERROR CODE=\"-0x10\">\nsixteen\n</TVERROR>\n"
                                        "</TVDOCUMENT>\n");
   const ProcessLocale other(GetParam());
   create(R"({"lorvexlua_xlator":"dorvex","lorvexlua_settings":{"trvSharedErrorsDir":")" +
          folder.path() + R"(/errors"}})");
   ASSERT_TRUE(translator) << status.text();
   EXPECT_EQ(staticDesc(-16), "sixteen");
}

} // namespace
