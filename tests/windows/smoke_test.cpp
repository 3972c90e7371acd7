// The library as a program of Windows meets it: the DLL beside the program, the registry and folders
// of the system.
#include "lorvex_translator.h"
#include "service/checked_status.h"
#include "windows/own_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <windows.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <sstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

using namespace zerova::test;
using testing::HasSubstr;

namespace fs = std::filesystem;

// The value that an installer writes, in the view of 32-bit programs alone.
class InstalledFolder
{
public:
   explicit InstalledFolder(const std::wstring& folder, DWORD type = REG_SZ, size_t terminators = 1)
   {
      EXPECT_EQ(RegCreateKeyExW(HKEY_LOCAL_MACHINE, kKey, 0, nullptr, 0,
                                KEY_ALL_ACCESS | KEY_WOW64_32KEY, nullptr, &key_, nullptr),
                ERROR_SUCCESS);
      EXPECT_EQ(RegSetValueExW(key_, kValue, 0, type, reinterpret_cast<const BYTE*>(folder.c_str()),
                               static_cast<DWORD>((folder.size() + terminators) * sizeof(wchar_t))),
                ERROR_SUCCESS);
   }
   ~InstalledFolder()
   {
      RegDeleteValueW(key_, kValue);
      RegCloseKey(key_);
   }
   InstalledFolder(const InstalledFolder&) = delete;
   InstalledFolder& operator=(const InstalledFolder&) = delete;

private:
   static constexpr const wchar_t* kKey = L"SOFTWARE\\Trevanta\\Common\\Installer";
   static constexpr const wchar_t* kValue = L"TRVSHAREDDIR";
   HKEY key_ = nullptr;
};

char* QUELERR_CALL allocate(void*, size_t length, void*, quelerr_Status*)
{
   return static_cast<char*>(std::malloc(length));
}

class Translator
{
public:
   explicit Translator(const std::string& errorsFolder)
      : made_(lorvex_exported_create(
           "dorvex_zerova",
           (R"({"lorvexlua_xlator":"dorvex","lorvexlua_settings":{"driverName":"none",)"
            R"("trvSharedErrorsDir":")" +
            errorsFolder + R"(","AuxErrorsDir":""}})")
              .c_str(),
           status_))
   {
      EXPECT_NE(made_, nullptr) << status_.json();
   }
   ~Translator()
   {
      if (made_) made_->destroy(made_);
   }
   Translator(const Translator&) = delete;
   Translator& operator=(const Translator&) = delete;

   std::string describe(int32_t code, uint32_t language)
   {
      char* const text = made_->getStaticDesc(made_, static_cast<uint32_t>(code),
                                              LORVEX_LANG_AND_ADE(language, lorvex_environmentNone),
                                              allocate, nullptr, status_);
      EXPECT_EQ(status_.code(), 0) << status_.json();
      std::string described = text ? text : "";
      std::free(text);
      return described;
   }

private:
   CheckedStatus status_;
   lorvex_Translator* made_;
};

std::string errorFile(int32_t code, const std::string& text)
{
   return "<?xml version=\"1.0\"?>\r\n<tvdocument>\r\n<tverror code=\"" + std::to_string(code) +
          "\">\r\n" + text + "\r\n</tverror>\r\n</tvdocument>\r\n";
}

// The texts of the source, by code and language.
std::map<std::pair<int32_t, std::string>, std::string> sourceTexts()
{
   std::map<std::pair<int32_t, std::string>, std::string> texts;
   std::ifstream source(TEXTS_SOURCE, std::ios::binary);
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

TEST(Translator, EveryCodeIsDescribedInEveryLanguageAsTheSourceHasIt)
{
   constexpr const char* kLanguages[] = {"English",  "French", "German",
                                         "Japanese", "Korean", "ChineseS"};
   const auto texts = sourceTexts();
   ASSERT_EQ(texts.size(), 9u * std::size(kLanguages));
   Translator translator(utf8(ownFolder() / "texts/generated/zerova"));
   for (const auto& [key, text] : texts)
      for (uint32_t language = 0; language < std::size(kLanguages); ++language)
         if (key.second == kLanguages[language]) {
            EXPECT_EQ(translator.describe(key.first, language), text) << key.first << key.second;
         }
}

TEST(Translator, FolderOfTheRegistryMayHaveAJapaneseName)
{
   const OwnFolder shared(L"\u5171\u6709");
   shared.write("Errors/Japanese/a.err", errorFile(-99001, "\x93\xFA\x96\x7B"));
   shared.write(fs::path(L"Errors/English/\u82F1\u8A9E.txt"), errorFile(-99002, "caf\xE9"));
   const InstalledFolder installed(shared.path().wstring() + L"\\");
   Translator translator("$_trvShared32Dir/Errors");
   EXPECT_EQ(translator.describe(-99001, lorvex_languageJapanese), "\u65E5\u672C");
   EXPECT_EQ(translator.describe(-99002, lorvex_languageEnglish), "caf\u00E9");
}

TEST(Translator, ValueOfTheRegistryMayBeOfAnyTypeAndLengthAndWithoutATerminator)
{
   const OwnFolder shared(L"shared");
   shared.write("Errors/English/a.err", errorFile(-99001, "found"));
   const std::wstring folder = shared.path().wstring();
   const std::wstring blanks(300, L' ');
   struct Case
   {
      std::wstring value;
      DWORD type;
      size_t terminators;
   };
   for (const Case& c :
        {Case{folder, REG_SZ, 0}, Case{folder, REG_BINARY, 0}, Case{folder, REG_EXPAND_SZ, 1},
         Case{blanks + folder + L"\\", REG_SZ, 1}, Case{folder + blanks, REG_BINARY, 0}})
   {
      const InstalledFolder installed(c.value, c.type, c.terminators);
      Translator translator("$_trvShared32Dir/Errors");
      EXPECT_EQ(translator.describe(-99001, lorvex_languageEnglish), "found")
         << c.type << ' ' << c.value.size();
   }
}

// A key of the user's own stands for the machine's, for this process alone.
TEST(Translator, RegistryMayBeASandboxOfTheHosts)
{
   const OwnFolder shared(L"shared");
   shared.write("Errors/English/a.err", errorFile(-99001, "found"));
   constexpr const wchar_t* kSandbox = L"SOFTWARE\\ZerovaSandbox";
   HKEY sandbox = nullptr;
   ASSERT_EQ(RegCreateKeyExW(HKEY_CURRENT_USER, kSandbox, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                             &sandbox, nullptr),
             ERROR_SUCCESS);
   ASSERT_EQ(RegOverridePredefKey(HKEY_LOCAL_MACHINE, sandbox), ERROR_SUCCESS);
   {
      const InstalledFolder installed(shared.path().wstring());
      Translator translator("$_trvShared32Dir/Errors");
      EXPECT_EQ(translator.describe(-99001, lorvex_languageEnglish), "found");
   }
   EXPECT_EQ(RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr), ERROR_SUCCESS);
   EXPECT_EQ(RegDeleteTreeW(sandbox, nullptr), ERROR_SUCCESS);
   RegCloseKey(sandbox);
   RegDeleteKeyW(HKEY_CURRENT_USER, kSandbox);
}

TEST(Translator, NumbersAreWrittenAsOnAnySystem)
{
   // The pattern that the C library of this system writes has three digits in its exponent.
   CheckedStatus status;
   lorvex_Translator* const made = lorvex_exported_create(
      "dorvex_zerova",
      R"({"lorvexlua_xlator":"dorvex","lorvexlua_settings":{"driverName":"none"}})", status);
   ASSERT_NE(made, nullptr) << status.json();
   char* const text =
      made->getDynamicDesc(made, R"({"component":"x","x_debug":{"number":1e20}})",
                           LORVEX_LANG_AND_ADE(lorvex_languageEnglish, lorvex_environmentNone),
                           "json1", allocate, nullptr, status);
   ASSERT_NE(text, nullptr) << status.json();
   EXPECT_THAT(text, HasSubstr("1e+20"));
   std::free(text);
   made->destroy(made);
}

TEST(Library, PairsThatShareAnEntryHaveOneAddress)
{
   const HMODULE library = GetModuleHandleW(L"zerovaapi.dll");
   ASSERT_NE(library, nullptr);
   for (const auto& [one, other] :
        {std::pair("zerovaapi_DeviceContainer_begin", "zerovaapi_TerminalContainer_begin"),
         std::pair("zerovaapi_DeviceIterator_next", "zerovaapi_TerminalIterator_next"),
         std::pair("zerovaapi_destroyString", "zerovaapi_destroyStringArray")})
   {
      ASSERT_NE(GetProcAddress(library, one), nullptr) << one;
      EXPECT_EQ(GetProcAddress(library, one), GetProcAddress(library, other)) << one;
   }
}

TEST(Library, IsLoadedAndUnloadedSixtyTimes)
{
   const OwnFolder folder("copy");
   const fs::path copy = folder.path() / "other.dll";
   fs::copy_file(ownFolder() / "zerovaapi.dll", copy);
   for (int i = 0; i < 60; ++i) {
      const HMODULE library = LoadLibraryW(copy.c_str());
      ASSERT_NE(library, nullptr) << GetLastError();
      const auto create = reinterpret_cast<decltype(&lorvex_exported_create)>(
         reinterpret_cast<void*>(GetProcAddress(library, "lorvex_exported_create")));
      ASSERT_NE(create, nullptr);
      CheckedStatus status;
      std::thread([&] {
         lorvex_Translator* const made = create(
            "dorvex_zerova", R"({"lorvexlua_xlator":"dorvex","lorvexlua_settings":{}})", status);
         ASSERT_NE(made, nullptr) << status.json();
         made->destroy(made);
      }).join();
      ASSERT_TRUE(FreeLibrary(library));
      ASSERT_EQ(GetModuleHandleW(L"other.dll"), nullptr);
   }
}

} // namespace
