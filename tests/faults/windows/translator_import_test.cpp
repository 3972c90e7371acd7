// Every call that the translators make of the system fails in turn.
#include "faults/windows/import_walk.h"
#include "lorvex_translator.h"
#include "support/scratch_folder.h"
#include "support/settings_tree.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include <shlobj.h>

namespace {

using namespace zerova::test;

// The runtime's own calls are not among them, nor those that let go of something. Allocations of the
// scripts have tests of their own.
const Import kImports[] = {
   importOf<"calloc", nullptr, decltype(calloc)>(ERROR_NOT_ENOUGH_MEMORY),
   importOf<"RegOpenKeyExW", ERROR_ACCESS_DENIED, decltype(RegOpenKeyExW)>(ERROR_ACCESS_DENIED),
   importOf<"RegQueryValueExW", ERROR_ACCESS_DENIED, decltype(RegQueryValueExW)>(
      ERROR_ACCESS_DENIED),
   importOf<"SHGetFolderPathW", E_FAIL, decltype(SHGetFolderPathW)>(ERROR_ACCESS_DENIED),
   importOf<"GetTempPathW", 0, decltype(GetTempPathW)>(ERROR_NOT_ENOUGH_MEMORY),
   importOf<"FindFirstFileW", -1, decltype(FindFirstFileW)>(ERROR_ACCESS_DENIED),
   importOf<"FindNextFileW", FALSE, decltype(FindNextFileW)>(ERROR_ACCESS_DENIED),
   importOf<"_wfsopen", nullptr, decltype(_wfsopen)>(ERROR_ACCESS_DENIED),
   importOf<"FormatMessageW", 0, decltype(FormatMessageW)>(ERROR_NOT_ENOUGH_MEMORY),
   importOf<"MultiByteToWideChar", 0, decltype(MultiByteToWideChar)>(ERROR_INVALID_PARAMETER),
   importOf<"WideCharToMultiByte", 0, decltype(WideCharToMultiByte)>(ERROR_INVALID_PARAMETER),
   importOf<"GetACP", 0, decltype(GetACP)>(ERROR_INVALID_PARAMETER),
};

char* allocate(void*, size_t length, void* context, quelerr_Status*)
{
   auto* const room = static_cast<std::vector<char>*>(context);
   return length <= room->size() ? room->data() : nullptr;
}

class TranslatorOnAFailingSystem : public testing::TestWithParam<Import>
{
protected:
   TranslatorOnAFailingSystem()
   {
      const char* const text = "<?xml version=\"1.0\"?>\n<tvdocument>\n<tverror code=\"-1\">\n"
                               "Ger\xE4t\n</tverror>\n</tvdocument>\n";
      folder.write("Errors/English/other.txt", "<?xml version=\"1.0\"?>\n");
      folder.write("Errors/English/errors.txt", text);
      settings.addValue(SettingsTree::View::of32Bit, "SOFTWARE/Trevanta/Common/Installer",
                        "TRVSHAREDDIR", folder.path());
   }

   // The text of the file, by a translator of that name.
   bool describe(const char* name, const char* registration, quelerr_Status* status)
   {
      lorvex_Translator* const translator = lorvex_exported_create(name, registration, status);
      if (!translator) return false;
      const char* const text = translator->getStaticDesc(translator, static_cast<uint32_t>(-1), 0,
                                                         allocate, &room, status);
      const bool isThere = text != nullptr;
      translator->destroy(translator);
      return isThere;
   }

   const ScratchFolder folder;
   SettingsTree settings;
   std::vector<char> room = std::vector<char>(16384);
};

INSTANTIATE_TEST_SUITE_P(All, TranslatorOnAFailingSystem, testing::ValuesIn(kImports),
                         [](const auto& each) { return std::string(each.param.name); });

TEST_P(TranslatorOnAFailingSystem, EndsWellOrIsToldToHaveFailedAndLeavesNothing)
{
   const std::string registration =
      R"({"lorvexlua_xlator":"dorvex","lorvexlua_path":"$_tempDir\\x;$_commonAppDataDir\\x",)"
      R"("lorvexlua_settings":{"driverName":"d","trvSharedErrorsDir":"$_trvShared32Dir\\Errors"}})";
   failEachCall(GetParam(), [&](quelerr_Status* status) {
      return describe("dorvex_zerova", registration.c_str(), status);
   });
}

} // namespace
