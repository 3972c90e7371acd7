// Native modules of drivers, and their scripts in folders of any name.
#include "lorvex_translator.h"
#include "service/checked_status.h"
#include "windows/own_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <windows.h>

#include <cstdlib>
#include <filesystem>
#include <string>

namespace {

using namespace zerova::test;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace fs = std::filesystem;

constexpr const char* kRefusal = "native modules are not supported beside an interpreter of the "
                                 "host's or their own";

// The built modules lie apart, where no search finds them.
fs::path modules()
{
   return ownFolder() / "native_modules";
}

char* QUELERR_CALL allocate(void*, size_t length, void*, quelerr_Status*)
{
   return static_cast<char*>(std::malloc(length));
}

class NativeModule : public testing::Test
{
protected:
   // What the body of a function of Lua in a driver's script returns.
   std::string run(const std::string& body)
   {
      folder_.write("client.lua", "return {getStaticDesc = function()\n" + body + "\nend}");
      const std::string registration =
         R"({"lorvexlua_xlator":"client","lorvexlua_path":")" + utf8(folder_.path()) + R"("})";
      lorvex_Translator* const made =
         lorvex_exported_create("dorvex_zerova", registration.c_str(), status_);
      if (!made) return status_.json();
      char* const text = made->getStaticDesc(made, 0, 0, allocate, nullptr, status_);
      std::string told = text ? text : status_.json();
      std::free(text);
      made->destroy(made);
      return told;
   }

   std::string load(const fs::path& module, const std::string& function = "luaopen_native")
   {
      return run("local module, why, where = package.loadlib('" + utf8(module) + "', '" + function +
                 "')\n"
                 "return module and 'loaded ' .. select('#', module()) or where .. ': ' .. why");
   }

   CheckedStatus status_;
   OwnFolder folder_{L"\u811A\u672C"}; // a script's own, in Japanese
};

TEST_F(NativeModule, WhoseInterpreterIsNowhereIsRefused)
{
   EXPECT_THAT(load(modules() / "native_module.dll"),
               AllOf(StartsWith("open: "), Not(HasSubstr(kRefusal))));
   EXPECT_EQ(GetModuleHandleW(L"native_module.dll"), nullptr) << "it stays loaded";
   EXPECT_EQ(run("return 'ready'"), "ready");
}

TEST_F(NativeModule, WhoseInterpreterIsFoundIsRefused)
{
   ASSERT_TRUE(SetDllDirectoryW((modules() / "interpreter").c_str()));
   const std::string told = load(modules() / "native_module.dll");
   SetDllDirectoryW(nullptr);
   EXPECT_EQ(told, std::string("open: ") + kRefusal);
   EXPECT_EQ(GetModuleHandleW(L"native_module.dll"), nullptr) << "it stays loaded";
   EXPECT_EQ(GetModuleHandleW(L"lua51.dll"), nullptr) << "what it has brought stays loaded";
}

TEST_F(NativeModule, WhoseInterpreterWouldComeAtTheFirstCallIsRefused)
{
   EXPECT_EQ(load(modules() / "native_module_late.dll"), std::string("open: ") + kRefusal);
   EXPECT_EQ(GetModuleHandleW(L"native_module_late.dll"), nullptr) << "it stays loaded";
}

TEST_F(NativeModule, ThatHoldsAnInterpreterIsRefused)
{
   EXPECT_EQ(load(modules() / "native_module_with_interpreter.dll"),
             std::string("open: ") + kRefusal);
   EXPECT_EQ(GetModuleHandleW(L"native_module_with_interpreter.dll"), nullptr) << "it stays loaded";
}

TEST_F(NativeModule, IsRefusedBesideAnInterpreterOfTheHosts)
{
   const HMODULE interpreter = LoadLibraryW((modules() / "interpreter/lua51.dll").c_str());
   ASSERT_NE(interpreter, nullptr) << GetLastError();
   EXPECT_EQ(load(modules() / "native_module_alone.dll"), std::string("open: ") + kRefusal);
   FreeLibrary(interpreter);
   EXPECT_EQ(load(modules() / "native_module_alone.dll"), "loaded 0");
}

TEST_F(NativeModule, WithoutAnyNeedOfTheInterpreterIsLoadedFromAFolderOfAnyName)
{
   const fs::path copy = folder_.path() / L"\u30E2\u30B8\u30E5\u30FC\u30EB.dll";
   fs::copy_file(modules() / "native_module_alone.dll", copy);
   EXPECT_EQ(load(copy), "loaded 0");
   EXPECT_EQ(GetModuleHandleW(copy.c_str()), nullptr) << "it stays loaded";
}

TEST_F(NativeModule, ThatLacksTheFunctionIsToldApart)
{
   EXPECT_THAT(load(modules() / "native_module_alone.dll", "luaopen_another"),
               StartsWith("init: "));
}

TEST_F(NativeModule, ThatIsNoFileAndNameThatIsNoTextAreRefused)
{
   EXPECT_THAT(load(modules() / "none.dll"), StartsWith("open: "));
   EXPECT_THAT(run("return select(3, package.loadlib('\\255', 'luaopen_native'))"), "open");
}

TEST_F(NativeModule, IsRefusedWhenItIsRequired)
{
   EXPECT_THAT(run("package.cpath = '" + utf8(modules()) + "/?.dll'\n" +
                   "return tostring(select(2, pcall(require, 'native_module')))"),
               HasSubstr("error loading module 'native_module' from file"));
}

TEST_F(NativeModule, ScriptsNameFilesInUtf8)
{
   const std::string path = utf8(folder_.path() / L"\u65E5\u8A18.txt");
   EXPECT_EQ(run("local file = assert(io.open('" + path + "', 'w'))\n" +
                 "file:write('kept')\n"
                 "file:close()\n"
                 "assert(os.rename('" +
                 path + "', '" + path + ".lua'))\n" + "return io.open('" + path + ".lua'):read()"),
             "kept");
   EXPECT_TRUE(fs::exists(folder_.path() / L"\u65E5\u8A18.txt.lua"));
   EXPECT_EQ(run("return tostring(os.remove('" + path + ".lua'))"), "true");
   EXPECT_FALSE(fs::exists(folder_.path() / L"\u65E5\u8A18.txt.lua"));
   EXPECT_THAT(run("return select(2, io.open('\\255'))"), HasSubstr("No such file"));
}

} // namespace
