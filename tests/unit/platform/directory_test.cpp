#include "platform/directory.h"

#include "support/failing_malloc.h"
#include "support/open_descriptors.h"
#include "support/scratch_folder.h"
#include "unit/platform/listed_folder.h"

#include <cerrno>
#include <filesystem>
#include <gmock/gmock.h>
#include <set>
#include <string>

namespace {

using testing::AnyOf;
using testing::Pair;
using testing::UnorderedElementsAre;

} // namespace

TEST(Directory, EveryEntryIsListedWithWhetherItIsRegular)
{
   const ScratchFolder folder;
   folder.write("a.txt", "");
   folder.makeFolder("x.txt");
   EXPECT_THAT(list(folder.path()),
               UnorderedElementsAre(Pair(".", false), Pair("..", false), Pair("a.txt", true),
                                    Pair("x.txt", false)));
}

TEST(Directory, ItsPathIsFoundWithoutRegardToCaseAndWithEitherSeparator)
{
   const ScratchFolder folder;
   folder.write("Errors/English/a.txt", "");
   EXPECT_EQ(list(folder.path() + "\\errors\\english").count("a.txt"), 1u);
   EXPECT_EQ(list(folder.path() + "\\errors\\english\\").count("a.txt"), 1u);
}

TEST(Directory, WhatIsNoFolderIsTheSystemsFailure)
{
   const ScratchFolder folder;
   EXPECT_EQ(folderFailure(folder.path("missing")), ENOENT);
   EXPECT_THAT(folderFailure(folder.write("a.txt", "")), AnyOf(ENOTDIR, ENOENT));
}

TEST(Directory, FilesThatVanishWhileListedEndTheListing)
{
   const ScratchFolder folder;
   const std::string path = folder.makeFolder("sub");
   std::set<std::string> names = {".", ".."};
   for (int i = 0; i < 2000; ++i) {
      const std::string name = "file" + std::to_string(i) + ".txt";
      folder.write("sub/" + name, "");
      names.insert(name);
   }
   platform::Directory directory{};
   ASSERT_EQ(platform::openDirectory(path.c_str(), &directory), 0);
   platform::DirectoryEntry entry{};
   ASSERT_TRUE(platform::readEntry(&directory, &entry));
   names.erase(entry.name);
   for (const auto& file : std::filesystem::directory_iterator(path))
      std::filesystem::remove(file);
   // What the system has read ahead may still come, each but once.
   while (platform::readEntry(&directory, &entry))
      ASSERT_EQ(names.erase(entry.name), 1u) << entry.name;
   platform::closeDirectory(&directory);
}

TEST(Directory, AProgramThatIsStartedMeanwhileDoesNotInheritIt)
{
   const ScratchFolder folder;
   list(folder.path()); // what is made once in the process
   const size_t inherited = inheritedDescriptors();
   const size_t before = openDescriptors();
   platform::Directory directory{};
   ASSERT_EQ(platform::openDirectory(folder.path().c_str(), &directory), 0);
   EXPECT_EQ(inheritedDescriptors(), inherited);
   platform::closeDirectory(&directory);
   EXPECT_EQ(openDescriptors(), before) << "the folder was not closed";
}

TEST(Directory, WithoutMemoryNothingStaysOpen)
{
   const ScratchFolder folder;
   folder.makeFolder("Errors");
   const std::string path = folder.path("errors");
   int failure = 0;
   const size_t count = forEachFailingAllocation(
      FailingMalloc::Then::succeed, [&](size_t) { failure = folderFailure(path); },
      [&](size_t index) { EXPECT_NE(failure, 0) << index; });
   EXPECT_EQ(failure, 0);
   EXPECT_GE(count, 2u) << "the path and the listing at the least";
}

TEST(Directory, AListedFileOpensByItsName)
{
   const ScratchFolder folder;
   folder.write("A.txt", "text");
   folder.makeFolder("x.txt");
   platform::Directory directory{};
   ASSERT_EQ(platform::openDirectory(folder.path().c_str(), &directory), 0);
   platform::TextFile file{};
   ASSERT_EQ(platform::openTextFileIn(&directory, "A.txt", &file), 0);
   char line[16];
   EXPECT_TRUE(platform::readLine(&file, line, sizeof line));
   EXPECT_STREQ(line, "text");
   platform::closeTextFile(&file);
   EXPECT_EQ(platform::openTextFileIn(&directory, "none.txt", &file), ENOENT);
   EXPECT_THAT(platform::openTextFileIn(&directory, "x.txt", &file), AnyOf(EISDIR, EACCES));
   platform::closeDirectory(&directory);
}
