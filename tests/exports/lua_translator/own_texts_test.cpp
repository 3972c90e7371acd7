// The library's own descriptions of its status codes, on a machine where no installer has published
// anything: with the registration that the documents give for them, a host gets every text.
#include "exports/lua_translator/host.h"
#include "support/settings_tree.h"

#include <fstream>
#include <iterator>
#include <map>
#include <sstream>
#include <utility>

namespace {

using testing::StartsWith;

// By language index.
constexpr const char* kLanguages[] = {"English",  "French", "German",
                                      "Japanese", "Korean", "ChineseS"};
constexpr const char* kNotFound = "Error description not found";

std::string contentOf(const std::string& path)
{
   std::ifstream file(path, std::ios::binary);
   if (!file) ADD_FAILURE() << "cannot read " << path;
   return {std::istreambuf_iterator<char>(file), {}};
}

// The texts of the source, by code and language.
std::map<std::pair<int32_t, std::string>, std::string> sourceTexts()
{
   std::map<std::pair<int32_t, std::string>, std::string> texts;
   std::istringstream source(contentOf(TEXTS_SOURCE));
   std::string* text = nullptr;
   for (std::string line; std::getline(source, line);) {
      if (line.starts_with("#")) continue;
      if (line.starts_with("[")) {
         const size_t blank = line.find(' ');
         text =
            &texts[{std::stoi(line.substr(1)), line.substr(blank + 1, line.size() - blank - 2)}];
      } else if (text) {
         *text += line + "\n";
      }
   }
   for (auto& entry : texts)
      entry.second.erase(entry.second.find_last_not_of('\n') + 1);
   return texts;
}

// The registration of the documents, with the folder of the texts put in place of the installed one.
std::string registrationOfTheDocs(const std::string& folder)
{
   const std::string installed = "/usr/local/share/zerovaapi/texts";
   const std::string page = contentOf(TRANSLATOR_PAGE);
   const size_t begin = page.rfind("```json\n", page.find(installed)) + 8;
   std::string registration = page.substr(begin, page.find("```", begin) - begin);
   for (size_t at; (at = registration.find(installed)) != std::string::npos;)
      registration.replace(at, installed.size(), folder);
   return registration;
}

class OwnTexts : public TranslatorHost
{
protected:
   void createWithOwnTexts(const std::string& root = TEXTS_ROOT)
   {
      create(registrationOfTheDocs(root));
      ASSERT_TRUE(translator) << status.text();
   }

   void publishSharedFolder()
   {
      tree.addValue(SettingsTree::View::of32Bit, "SOFTWARE/Trevanta/Common/Installer",
                    "TRVSHAREDDIR", folder.path());
   }

   // Files of an installer: texts for a code that the library has and for one that it has not.
   void describeInShared(const std::string& place)
   {
      folder.write(place + "/machine.err", "<?xml version=\"1.0\"?>\n<tvdocument>\n"
                                           "<tverror code=\"-52006\">\nmachine's\n</tverror>\n"
                                           "<tverror code=\"-99001\">\nmachine's\n</tverror>\n"
                                           "</tvdocument>\n");
   }

   SettingsTree tree;
};

TEST_F(OwnTexts, EveryCodeIsDescribedInEveryLanguageAsTheSourceHasIt)
{
   const auto texts = sourceTexts();
   ASSERT_EQ(texts.size(), 9U * std::size(kLanguages));
   createWithOwnTexts();
   for (const auto& [key, text] : texts)
      for (uint32_t lang = 0; lang < std::size(kLanguages); ++lang)
         if (key.second == kLanguages[lang]) {
            EXPECT_EQ(staticDesc(key.first, lang), text) << key.first << " " << key.second;
            EXPECT_EQ(status.code, 0) << status.text();
         }
}

TEST_F(OwnTexts, ServiceThatCannotBeReachedIsDescribedInGerman)
{
   createWithOwnTexts();
   EXPECT_THAT(staticDesc(-89168, lorvex_languageGerman).value_or(""),
               StartsWith("Der Routingdienst war nicht erreichbar."));
}

TEST_F(OwnTexts, CodeWithoutATextIsToldAsNotFoundAndNothingFails)
{
   createWithOwnTexts();
   for (const int32_t code : {0, -1, -52001, 52006, -99001})
      for (uint32_t lang = 0; lang < std::size(kLanguages); ++lang) {
         EXPECT_EQ(staticDesc(code, lang), kNotFound) << code;
         EXPECT_EQ(status.code, 0) << status.text();
      }
}

TEST_F(OwnTexts, LanguageThatIsNoneGetsTheEnglishText)
{
   createWithOwnTexts();
   EXPECT_EQ(staticDesc(-52029, 9), sourceTexts().at({-52029, "English"}));
   EXPECT_EQ(status.code, 0) << status.text();
}

TEST_F(OwnTexts, StatusJsonIsDescribedInEveryLanguageAndEnvironment)
{
   createWithOwnTexts();
   for (uint32_t lang = 0; lang < std::size(kLanguages); ++lang)
      for (uint32_t ade = 0; ade < 4; ++ade) {
         EXPECT_TRUE(dynamicDesc(R"({"component":"zerovaapi"})", LORVEX_LANG_AND_ADE(lang, ade)));
         EXPECT_EQ(status.code, 0) << status.text();
      }
}

TEST_F(OwnTexts, FolderThatWasNotInstalledCountsAsOneWithoutTexts)
{
   createWithOwnTexts(folder.path("nowhere"));
   EXPECT_EQ(staticDesc(-89168, lorvex_languageGerman), kNotFound);
   EXPECT_TRUE(dynamicDesc("{}"));
   EXPECT_EQ(status.code, 0) << status.text();
}

TEST_F(OwnTexts, MachineWithSettingsDescribesTheOtherCodes)
{
   publishSharedFolder();
   describeInShared("Errors/German");
   std::string registration = registrationOfTheDocs(TEXTS_ROOT);
   const std::string own = TEXTS_ROOT "/zerova";
   registration.replace(registration.find(own + '"'), own.size(), "$_trvShared32Dir/Errors");
   create(registration);
   ASSERT_TRUE(translator) << status.text();
   EXPECT_EQ(staticDesc(-99001, lorvex_languageGerman), "machine's");
   EXPECT_EQ(staticDesc(-52006, lorvex_languageGerman), sourceTexts().at({-52006, "German"}));
   EXPECT_EQ(status.code, 0) << status.text();
}

TEST_F(OwnTexts, MachinesTextsComeFirstWhereOursTakeThePlaceOfTheSharedFolder)
{
   publishSharedFolder();
   describeInShared("Auxerrors/zerova/German");
   create(R"({"lorvexlua_xlator":"dorvex","lorvexlua_settings":{"driverName":"zerova",)"
          R"("trvSharedErrorsDir":")" TEXTS_ROOT R"(/zerova",)"
          R"("AuxErrorsDir":"$_trvShared32Dir/Auxerrors"}})");
   ASSERT_TRUE(translator) << status.text();
   EXPECT_EQ(staticDesc(-52006, lorvex_languageGerman), "machine's");
   EXPECT_EQ(staticDesc(-89168, lorvex_languageGerman), sourceTexts().at({-89168, "German"}));
   EXPECT_EQ(status.code, 0) << status.text();
}

TEST_F(OwnTexts, MachinesRegistrationFindsNoneOfThem)
{
   publishSharedFolder();
   folder.makeFolder("Errors/German");
   create(R"({"lorvexlua_xlator":"dorvex","lorvexlua_settings":{"driverName":"zerova",)"
          R"("trvSharedErrorsDir":"$_trvShared32Dir/Errors",)"
          R"("AuxErrorsDir":"$_trvShared32Dir/Auxerrors"}})");
   ASSERT_TRUE(translator) << status.text();
   EXPECT_EQ(staticDesc(-89168, lorvex_languageGerman), kNotFound);
   EXPECT_EQ(status.code, 0) << status.text();
}

} // namespace
