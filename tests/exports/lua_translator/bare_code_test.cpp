// What the translator script says to a bare status code.
#include "exports/lua_translator/host.h"

namespace {

using testing::HasSubstr;

class BareCode : public TranslatorHost
{
protected:
   void createWithSettings(const std::string& settings)
   {
      create(R"({"lorvexlua_xlator":"dorvex","lorvexlua_path":")" + folder.path() +
             R"(","lorvexlua_settings":{)" + settings + "}}");
      ASSERT_TRUE(translator) << status.text();
   }

   // The settings of an installed driver, below the folder of the test.
   void createInstalled()
   {
      createWithSettings(R"("driverName":"zerova","trvSharedErrorsDir":")" + folder.path() +
                         R"(/Errors","AuxErrorsDir":")" + folder.path() + R"(/Own")");
   }

   // A file that holds the text of code -1.
   void describe(const std::string& place, const std::string& text)
   {
      folder.write(place + "/errors.txt", "<?xml version=\"1.0\"?>\n<tvdocument>\n"
                                          "<tverror code=\"-1\">\n" +
                                             text + "\n</tverror>\n</tvdocument>\n");
   }
};

constexpr const char* kNotFound = "Error description not found";

TEST_F(BareCode, TextOfTheLanguageIsFound)
{
   describe("Errors/English", "english");
   describe("Errors/French", "fran\xE7"
                             "ais");
   createInstalled();
   EXPECT_EQ(staticDesc(-1, 0), "english");
   EXPECT_EQ(staticDesc(-1, 1), "fran\u00E7ais");
   EXPECT_EQ(status.code, 0);
}

TEST_F(BareCode, TextComesAsUtf8FromTheCodePageOfItsLanguage)
{
   describe("Errors/German", "Ger\xE4t");
   describe("Errors/Japanese", "\x83\x47\x83\x89\x81\x5B");
   describe("Errors/Korean", "\xBF\xA1\xB7\xAF");
   describe("Errors/ChineseS", "\xB4\xED\xCE\xF3");
   createInstalled();
   EXPECT_EQ(staticDesc(-1, 2), "Ger\u00E4t");
   EXPECT_EQ(staticDesc(-1, 3), "\u30A8\u30E9\u30FC");
   EXPECT_EQ(staticDesc(-1, 4), "\uC5D0\uB7EC");
   EXPECT_EQ(staticDesc(-1, 5), "\u9519\u8BEF");
}

TEST_F(BareCode, UnknownCodeIsToldAsNotFound)
{
   createInstalled();
   EXPECT_EQ(staticDesc(-1), kNotFound);
   describe("Errors/English", "english");
   EXPECT_EQ(staticDesc(-2), kNotFound);
   EXPECT_EQ(status.code, 0);
}

TEST_F(BareCode, LanguageWithoutTheCodeFallsBackToEnglish)
{
   folder.makeFolder("Errors/French");
   describe("Errors/English", "english");
   createInstalled();
   EXPECT_EQ(staticDesc(-1, 1), "english");
}

TEST_F(BareCode, MissingFolderOfALanguageCountsAsNotFound)
{
   describe("Errors/English", "english");
   createInstalled();
   EXPECT_EQ(staticDesc(-1, 3), "english");
   EXPECT_EQ(status.code, 0);
}

TEST_F(BareCode, BadFileOfALanguageCountsAsNotFound)
{
   folder.write("Errors/French/bad.txt", "<?xml version=\"1.0\"?>\n<tvdocument>\n"
                                         "<tverror code=\"x\">\n");
   describe("Errors/English", "english");
   createInstalled();
   EXPECT_EQ(staticDesc(-1, 1), "english");
   EXPECT_EQ(status.code, 0);
}

TEST_F(BareCode, ErrorsFolderItselfIsSearchedOnceTheLanguageFolderIsThere)
{
   describe("Errors", "shared");
   createInstalled();
   EXPECT_EQ(staticDesc(-1, 1), kNotFound);
   folder.makeFolder("Errors/French");
   EXPECT_EQ(staticDesc(-1, 1), "shared");
}

TEST_F(BareCode, DriversTextComesBeforeTheSharedOne)
{
   describe("Errors/French", "shared");
   describe("Own/zerova/French", "driver's");
   createInstalled();
   EXPECT_EQ(staticDesc(-1, 1), "driver's");
}

TEST_F(BareCode, DriversEnglishComesBeforeTheSharedTextOfTheLanguage)
{
   describe("Errors/French", "shared");
   describe("Own/zerova/English", "driver's \xE9");
   createInstalled();
   EXPECT_EQ(staticDesc(-1, 1), "driver's \u00E9");
   EXPECT_EQ(staticDesc(-1, 3), "driver's \u00E9") << "converted as English";
}

TEST_F(BareCode, WithoutAnAuxiliaryFolderOrADriversNameTheDriversTextsAreNotLookedFor)
{
   describe("Errors/English", "shared");
   describe("Own/zerova/English", "driver's");
   const std::string shared = R"("trvSharedErrorsDir":")" + folder.path() + R"(/Errors")";
   createWithSettings(shared + R"(,"driverName":"zerova")");
   EXPECT_EQ(staticDesc(-1), "shared");
   createWithSettings(shared + R"(,"AuxErrorsDir":")" + folder.path() + R"(/Own")");
   EXPECT_EQ(staticDesc(-1), "shared");
}

TEST_F(BareCode, SharedFolderIsNeededAlways)
{
   folder.write("errors_eng.lua",
                "return {encoding = 'utf-8', getString = function() return 'there' end}");
   createWithSettings(R"("driverName":"zerova")");
   EXPECT_EQ(staticDesc(-1), std::nullopt);
   EXPECT_EQ(status.code, -52003);
   EXPECT_THAT(status("v.internal_error.string"),
               HasSubstr("bad argument #2 to 'expandPath' (string expected, got nil)"));
   EXPECT_THAT(status("v.internal_error.string"), HasSubstr("\nstack traceback:\n"));
}

TEST_F(BareCode, SharedFolderThatCannotBeExpandedFailsTheCall)
{
   createWithSettings(R"("trvSharedErrorsDir":"$nowhere/Errors")");
   EXPECT_EQ(staticDesc(-1), std::nullopt);
   EXPECT_EQ(status.code, -52003);
   EXPECT_THAT(status("v.internal_error.string"), HasSubstr("tamrixerr_resourceNotFound"));
}

TEST_F(BareCode, AuxiliaryFolderThatCannotBeExpandedFailsTheCall)
{
   createWithSettings(
      R"("driverName":"zerova","AuxErrorsDir":"$_tempDir","trvSharedErrorsDir":"/x")");
   EXPECT_EQ(staticDesc(-1), std::nullopt);
   EXPECT_THAT(status("v.internal_error.string"), HasSubstr("plugin dll path invalid"));
}

TEST_F(BareCode, UnknownLanguageLooksInItsOwnFolderAndThenInEnglish)
{
   describe("Own/zerova/English", "\xE9");
   createInstalled();
   EXPECT_EQ(staticDesc(-1, 9), "\u00E9");
   describe("Own/zerova/Zzzzzzz", "never told");
   EXPECT_EQ(staticDesc(-1, 9), std::nullopt) << "there is no code page to convert it from";
   EXPECT_THAT(status("v.internal_error.string"), HasSubstr("invalid language"));
}

TEST_F(BareCode, UnknownLanguageFindsTheSharedEnglishText)
{
   describe("Errors/English", "english");
   createInstalled();
   EXPECT_EQ(staticDesc(-1, 9), "english");
   EXPECT_EQ(staticDesc(-1, 255), "english");
   EXPECT_EQ(status.code, 0);
}

TEST_F(BareCode, EnvironmentChangesNothing)
{
   describe("Errors/German", "deutsch");
   createInstalled();
   for (uint32_t ade = 0; ade < 16; ++ade)
      EXPECT_EQ(staticDesc(-1, LORVEX_LANG_AND_ADE(2, ade)), "deutsch") << ade;
}

TEST_F(BareCode, TextThatIsNotInTheCodePageOfItsLanguageFailsTheCall)
{
   describe("Errors/Japanese", "\x83"); // the first byte of two
   createInstalled();
   EXPECT_EQ(staticDesc(-1, 3), std::nullopt);
   EXPECT_EQ(status.code, -52003);
   EXPECT_THAT(status("v.internal_error.string"), HasSubstr(R"("error_constant":"err")"));
}

TEST_F(BareCode, TableOfTextsComesFirst)
{
   describe("Errors/German", "file");
   folder.write("errors_deu.lua", "return {encoding = 'utf-8', getString = function(code)\n"
                                  "   return code == -1 and 'Tabelle \xC3\xA4' or nil end}");
   createInstalled();
   EXPECT_EQ(staticDesc(-1, 2), "Tabelle \u00E4");
   EXPECT_EQ(staticDesc(-2, 2), kNotFound);
}

TEST_F(BareCode, TableOfALanguageFallsBackToTheEnglishTable)
{
   folder.write("errors_eng.lua", "return {encoding = 'utf-8', getString = function(code)\n"
                                  "   return 'english table' end}");
   createInstalled();
   EXPECT_EQ(staticDesc(-1, 2), "english table");
   EXPECT_EQ(staticDesc(-1, 9), "english table");
}

TEST_F(BareCode, TableWithoutTheCodeLeavesItToTheFiles)
{
   describe("Errors/English", "file");
   folder.write("errors_eng.lua", "return {encoding = 'utf-8', getString = function() end}");
   createInstalled();
   EXPECT_EQ(staticDesc(-1, 1), "file");
}

TEST_F(BareCode, TableOfAnotherEncodingFailsTheCall)
{
   folder.write("errors_eng.lua", "return {encoding = 'latin1', getString = function() end}");
   createInstalled();
   EXPECT_EQ(staticDesc(-1), std::nullopt);
   EXPECT_EQ(status.code, -52003);
   EXPECT_THAT(status("v.internal_error.string"), HasSubstr("Unsupported encoding"));
}

TEST_F(BareCode, TableThatFailsToLoadCountsAsNone)
{
   describe("Errors/English", "file");
   folder.write("errors_eng.lua", "error('broken')");
   createInstalled();
   EXPECT_EQ(staticDesc(-1), "file");
   EXPECT_EQ(status.code, 0);
}

TEST_F(BareCode, TableThatCouldNotBeLoadedIsTriedAgainWithTheNextCall)
{
   describe("Errors/English", "file");
   createInstalled();
   EXPECT_EQ(staticDesc(-1), "file");
   folder.write("errors_eng.lua", "return =");
   EXPECT_EQ(staticDesc(-1), "file");
   folder.write("errors_eng.lua",
                "return {encoding = 'utf-8', getString = function() return 'mended' end}");
   EXPECT_EQ(staticDesc(-1), "mended");
}

} // namespace
