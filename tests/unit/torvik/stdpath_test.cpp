#include "torvik/stdpath.h"

#include "support/environment.h"
#include "support/failing_malloc.h"
#include "support/owned.h"
#include "support/settings_tree.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

namespace {

using testing::EndsWith;
using testing::StartsWith;
using View = SettingsTree::View;

constexpr const char* kInstaller = "SOFTWARE/Trevanta/Common/Installer";

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
   EXPECT_EQ(value.text(), kCommonFolder + std::string("\\Trevanta"));
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
   const std::string folder = kCommonFolder;
   const std::u16string expected(folder.begin(), folder.end());
   EXPECT_EQ(unitsOf(value).substr(0, folder.size() + 1), expected + u'\0');
}

TEST(StandardVariables, WithoutMemoryTheTextStays)
{
   const std::string folder = kSomeTemporaryFolder + std::string(200, 'a');
   const EnvironmentVariable set(kTemporaryFolderVariable, folder.c_str());
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
