#include "torvik/stdpath.h"

#include "platform/standard_folders.h"
#include "support/failing_malloc.h"
#include "support/owned.h"
#include "support/settings_tree.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>

namespace {

using testing::EndsWith;
using testing::StartsWith;
using View = SettingsTree::View;

constexpr const char* kInstaller = "SOFTWARE/Trevanta/Common/Installer";

// Sets TMPDIR, or takes it away, and puts it back at the end.
class TemporaryFolder
{
public:
   explicit TemporaryFolder(const char* path)
   {
      if (const char* const held = std::getenv("TMPDIR")) held_ = held;
      set(path);
   }
   TemporaryFolder(const TemporaryFolder&) = delete;
   TemporaryFolder& operator=(const TemporaryFolder&) = delete;
   ~TemporaryFolder() { set(held_ ? held_->c_str() : nullptr); }

private:
   static void set(const char* path)
   {
      if (path)
         setenv("TMPDIR", path, 1);
      else
         unsetenv("TMPDIR");
   }

   std::optional<std::string> held_;
};

std::string temporaryFolder(const char* variable)
{
   const TemporaryFolder set(variable);
   OwnedString value("before");
   OwnedStatus status;
   torvik_getTempDir(&value, &status);
   EXPECT_EQ(status.code, 0) << status.text();
   return value.text();
}

// The folder that content of the installer's value gives.
std::string sharedFolder(std::string_view content)
{
   SettingsTree tree;
   tree.addValue(View::of32Bit, kInstaller, "TRVSHAREDDIR", content);
   OwnedString value("before");
   OwnedStatus status;
   torvik_getShared32Dir(&value, &status);
   EXPECT_EQ(status.code, 0) << status.text();
   return value.text();
}

TEST(SharedFolder, BackslashAtTheEndIsCut)
{
   EXPECT_EQ(sharedFolder("C:\\Shared\\"), "C:\\Shared");
   EXPECT_EQ(sharedFolder("C:\\Shared\\\\\\"), "C:\\Shared");
}

TEST(SharedFolder, BlanksAtBothEndsAreCut)
{
   EXPECT_EQ(sharedFolder(" C:\\Shared "), "C:\\Shared");
   EXPECT_EQ(sharedFolder("\t\v\f C:\\My Folder \\ \r\n"), "C:\\My Folder");
}

TEST(SharedFolder, NulsAtTheEndAreCut)
{
   EXPECT_EQ(sharedFolder(std::string_view("C:\\Shared\\\0\0 \0", 14)), "C:\\Shared");
}

TEST(SharedFolder, BackslashAtTheStartStays)
{
   EXPECT_EQ(sharedFolder(" \\\\host\\share"), "\\\\host\\share");
}

TEST(SharedFolder, NulAtTheStartStays)
{
   EXPECT_EQ(sharedFolder(std::string_view(" \0a", 3)), std::string("\0a", 2));
}

TEST(SharedFolder, NothingButBlanksIsTheEmptyText)
{
   EXPECT_EQ(sharedFolder(" \\ \\ "), "");
   EXPECT_EQ(sharedFolder(""), "");
}

TEST(SharedFolder, SlashAtTheEndStays)
{
   EXPECT_EQ(sharedFolder("/opt/shared/"), "/opt/shared/");
}

TEST(SharedFolder, NonLatinScriptArrivesAsUtf8)
{
   EXPECT_EQ(sharedFolder("/opt/\xE5\x85\xB1\xE6\x9C\x89"), "/opt/\xE5\x85\xB1\xE6\x9C\x89");
   EXPECT_EQ(sharedFolder("\xC2\xA0x\xC2\x85"), "\xC2\xA0x\xC2\x85") << "no blanks of ASCII";
}

TEST(SharedFolder, LongValueIsReadWhole)
{
   const std::string folder = "/" + std::string(10'000, 'a');
   EXPECT_EQ(sharedFolder(folder), folder);
}

TEST(SharedFolder, EachFolderHasAValueAndAViewOfItsOwn)
{
   SettingsTree tree;
   tree.addValue(View::of32Bit, kInstaller, "TRVSHAREDDIR", "/32bit/32");
   tree.addValue(View::of32Bit, kInstaller, "TRVSHAREDDIR64", "/32bit/64");
   tree.addValue(View::native, kInstaller, "TRVSHAREDDIR", "/native/32");
   tree.addValue(View::native, kInstaller, "TRVSHAREDDIR64", "/native/64");
   OwnedString value;
   OwnedStatus status;
   torvik_getShared32Dir(&value, &status);
   EXPECT_EQ(value.text(), "/32bit/32");
   torvik_getSharedDir(&value, &status);
   EXPECT_EQ(value.text(), "/native/64");
}

TEST(SharedFolder, CapacityIsRaisedTo256First)
{
   SettingsTree tree;
   tree.addValue(View::of32Bit, kInstaller, "TRVSHAREDDIR", "/a");
   OwnedString value;
   OwnedStatus status;
   torvik_getShared32Dir(&value, &status);
   EXPECT_EQ(value.capacity, 256u);
}

TEST(SharedFolder, MissingValueLeavesTheTextAndFails)
{
   OwnedString value("before");
   OwnedStatus status;
   torvik_getShared32Dir(&value, &status);
   EXPECT_EQ(status.code, -52006);
   EXPECT_EQ(value.text(), "before");
   status.code = 3;
   torvik_getSharedDir(&value, &status);
   EXPECT_EQ(status.code, -52006) << "a warning is replaced";
   EXPECT_EQ(value.text(), "before");
}

TEST(CommonFolder, IsTheSystemsWithTheMakersNameBehindIt)
{
   OwnedString value("before");
   OwnedStatus status;
   torvik_getCommonAppDataDir(&value, &status);
   EXPECT_EQ(status.code, 0);
   EXPECT_EQ(value.text(), "/var/lib\\Trevanta");
}

TEST(CommonFolder, FolderThatTheSystemDoesNotKnowIsResourceNotFound)
{
   OwnedWideBuffer value;
   OwnedStatus status;
   torvik_getFolderPath(1, &value, &status);
   EXPECT_EQ(status.code, -52006);
   EXPECT_THAT(status.text(), StartsWith(R"({"error_constant":"tamrixerr_resourceNotFound",)"
                                         R"("file":"torvik/stdpath","line":)"));
   EXPECT_THAT(status.text(), EndsWith(R"(,"component":"zerovaapi",)"
                                       R"("internal_error":{"api":"hresult","code":22},)"
                                       R"("torvik_debug":{"desc":"SHGetFolderPathW failed"}})"));
}

TEST(CommonFolder, BufferHas260Units)
{
   OwnedWideBuffer value;
   OwnedStatus status;
   torvik_getFolderPath(35, &value, &status);
   EXPECT_EQ(value.length, 260u);
   EXPECT_EQ(unitsOf(value).substr(0, 9), std::u16string(u"/var/lib\0", 9));
}

TEST(TempFolder, ComesFromTheEnvironmentIfAbsolute)
{
   EXPECT_EQ(temporaryFolder("/var/tmp"), "/var/tmp");
   EXPECT_EQ(temporaryFolder(nullptr), "/tmp");
   EXPECT_EQ(temporaryFolder(""), "/tmp");
   EXPECT_EQ(temporaryFolder("relative/folder"), "/tmp");
}

TEST(TempFolder, HasNoSeparatorAtItsEnd)
{
   EXPECT_EQ(temporaryFolder("/var/tmp/"), "/var/tmp");
   EXPECT_EQ(temporaryFolder("/var/tmp//"), "/var/tmp");
   EXPECT_EQ(temporaryFolder("/var/tmp\\"), "/var/tmp");
   EXPECT_EQ(temporaryFolder("/"), "/");
}

TEST(TempFolder, LongerThanTheFirstBufferIsReadWhole)
{
   for (const size_t length : {255u, 256u, 257u, 10'000u}) {
      const std::string folder = "/" + std::string(length - 1, 'a');
      EXPECT_EQ(temporaryFolder(folder.c_str()), folder);
   }
}

// What the logic above makes of it comes out right for some wrong numbers, too.
TEST(TempFolder, SystemCountsTheTerminatorAsNeededButNotAsWritten)
{
   const TemporaryFolder set("/scratch");
   uint16_t path[9];
   EXPECT_EQ(platform::temporaryFolder(path, 9), 8u);
   EXPECT_EQ(path[8], 0);
   EXPECT_EQ(platform::temporaryFolder(path, 8), 9u);
}

TEST(TempFolder, NonLatinScriptArrivesAsUtf8)
{
   EXPECT_EQ(temporaryFolder("/tmp/\xEC\x9E\x84\xEC\x8B\x9C"), "/tmp/\xEC\x9E\x84\xEC\x8B\x9C");
}

TEST(StandardVariables, WithoutMemoryTheTextStays)
{
   const TemporaryFolder set(("/" + std::string(500, 'a')).c_str());
   SettingsTree tree;
   tree.addValue(View::of32Bit, kInstaller, "TRVSHAREDDIR", std::string(300, 'a'));
   tree.addValue(View::native, kInstaller, "TRVSHAREDDIR64", std::string(300, 'a'));
   for (const auto* row = torvik_standardVariables; row->name; ++row) {
      OwnedString value("before");
      quelerr_Status status;
      forEachFailingAllocation(
         FailingMalloc::Then::failAlways,
         [&](size_t) {
            quelerr_Status_init(&status);
            row->get(&value, &status);
            quelerr_Status_release(&status);
         },
         [&](size_t index) {
            // The platform's own blocks are told as its failure.
            EXPECT_TRUE(status.code == -52000 || status.code == -52006) << row->name << index;
            EXPECT_EQ(value.text(), "before") << row->name << index;
         });
      EXPECT_NE(value.text(), "before") << row->name;
   }
}

TEST(StandardVariables, StandInTheirOrder)
{
   std::vector<std::string> names;
   for (const auto* row = torvik_standardVariables; row->name; ++row)
      names.push_back(row->name);
   EXPECT_THAT(names, testing::ElementsAre("_trvShared32Dir", "_trvSharedDir", "_commonAppDataDir",
                                           "_tempDir"));
}

TEST(StandardVariables, ErrorInTheStatusKeepsEveryFolderAway)
{
   for (const auto* row = torvik_standardVariables; row->name; ++row) {
      OwnedString value("before");
      OwnedStatus status(-1);
      row->get(&value, &status);
      EXPECT_EQ(value.text(), "before") << row->name;
      EXPECT_EQ(status.code, -1) << row->name;
      EXPECT_EQ(status.json, nullptr) << row->name;
   }
   OwnedWideBuffer value;
   OwnedStatus status(-1);
   torvik_getFolderPath(35, &value, &status);
   EXPECT_EQ(value.data, nullptr);
}

} // namespace
