#include "platform/directory.h"

#include "support/failing_malloc.h"
#include "support/scratch_folder.h"
#include "unit/platform/odd_file_system.h"
#include "unit/transport/descriptors.h"

#include <cerrno>
#include <gmock/gmock.h>
#include <map>
#include <set>
#include <string>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

using testing::Pair;
using testing::UnorderedElementsAre;

// Each entry of a folder and whether it is regular.
std::map<std::string, bool> list(const std::string& path)
{
   std::map<std::string, bool> entries;
   platform::Directory directory{};
   const int failure = platform::openDirectory(path.c_str(), &directory);
   EXPECT_EQ(failure, 0) << path;
   if (failure) return entries;
   platform::DirectoryEntry entry{};
   while (platform::readEntry(&directory, &entry))
      entries[entry.name] = entry.isRegular;
   platform::closeDirectory(&directory);
   return entries;
}

int openFailure(const std::string& path)
{
   platform::Directory directory{};
   const int failure = platform::openDirectory(path.c_str(), &directory);
   if (!failure) platform::closeDirectory(&directory);
   return failure;
}

} // namespace

TEST(Directory, EveryEntryIsListedWithWhetherItIsRegular)
{
   const ScratchFolder folder;
   folder.write("a.txt", "");
   folder.makeFolder("x.txt");
   ASSERT_EQ(mkfifo(folder.path("fifo.txt").c_str(), 0600), 0);
   EXPECT_THAT(list(folder.path()),
               UnorderedElementsAre(Pair(".", false), Pair("..", false), Pair("a.txt", true),
                                    Pair("x.txt", false), Pair("fifo.txt", false)));
}

TEST(Directory, ALinkCountsAsWhatItLeadsTo)
{
   const ScratchFolder folder;
   folder.write("sub/a.txt", "");
   ASSERT_EQ(symlink("sub/a.txt", folder.path("file.txt").c_str()), 0);
   ASSERT_EQ(symlink("sub", folder.path("folder.txt").c_str()), 0);
   ASSERT_EQ(symlink("nothing", folder.path("dangling.txt").c_str()), 0);
   ASSERT_EQ(symlink("loop.txt", folder.path("loop.txt").c_str()), 0);
   EXPECT_THAT(list(folder.path()),
               UnorderedElementsAre(Pair(".", false), Pair("..", false), Pair("sub", false),
                                    Pair("file.txt", true), Pair("folder.txt", false),
                                    Pair("dangling.txt", false), Pair("loop.txt", false)));
}

TEST(Directory, ASocketIsNotRegular)
{
   const ScratchFolder folder;
   sockaddr_un address{};
   address.sun_family = AF_UNIX;
   folder.path("s.txt").copy(address.sun_path, sizeof address.sun_path - 1);
   const int socket = ::socket(AF_UNIX, SOCK_STREAM, 0);
   ASSERT_EQ(bind(socket, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
   EXPECT_FALSE(list(folder.path()).at("s.txt"));
   close(socket);
}

TEST(Directory, ANameThatNoPathCanHoldIsNotRegular)
{
   const ScratchFolder folder;
   folder.write("a\\b.txt", "");
   EXPECT_FALSE(list(folder.path()).at("a\\b.txt"));
}

TEST(Directory, ANameThatIsNotUtf8IsListedAsItIs)
{
   const ScratchFolder folder;
   folder.write("\xFF.txt", "");
   EXPECT_TRUE(list(folder.path()).at("\xFF.txt"));
}

TEST(Directory, TheLongestNameIsListedWhole)
{
   const ScratchFolder folder;
   const std::string name(255, 'n');
   folder.write(name, "");
   EXPECT_TRUE(list(folder.path()).at(name));
}

TEST(Directory, ANameLongerThanItsRoomIsCut)
{
   const ScratchFolder folder;
   for (const size_t length : {259u, 260u, 400u}) {
      const oddFileSystem::LongName name(std::string(length, 'n'));
      EXPECT_THAT(list(folder.path()), UnorderedElementsAre(Pair(std::string(259, 'n'), false),
                                                            Pair(".", false), Pair("..", false)));
   }
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
   EXPECT_EQ(openFailure(folder.path("missing")), ENOENT);
   EXPECT_EQ(openFailure(folder.write("a.txt", "")), ENOTDIR);
   EXPECT_EQ(openFailure(""), ENOENT);
   ASSERT_EQ(mkfifo(folder.path("fifo").c_str(), 0600), 0);
   EXPECT_EQ(openFailure(folder.path("fifo")), ENOTDIR);
}

TEST(Directory, AFolderThatVanishesWhileListedEndsTheListing)
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
   std::filesystem::remove_all(path);
   // What the system has read ahead may still come, each but once.
   while (platform::readEntry(&directory, &entry))
      ASSERT_EQ(names.erase(entry.name), 1u) << entry.name;
   platform::closeDirectory(&directory);
}

TEST(Directory, AProgramThatIsStartedMeanwhileDoesNotInheritIt)
{
   const ScratchFolder folder;
   const int next = descriptors::next();
   platform::Directory directory{};
   ASSERT_EQ(platform::openDirectory(folder.path().c_str(), &directory), 0);
   EXPECT_TRUE(descriptors::closesOnExec(next));
   platform::closeDirectory(&directory);
   EXPECT_FALSE(descriptors::isOpen(next)) << "the folder was not closed";
}

TEST(Directory, WithoutMemoryNothingStaysOpen)
{
   const ScratchFolder folder;
   folder.makeFolder("Errors");
   const std::string path = folder.path("errors");
   int failure = 0;
   const size_t count = forEachFailingAllocation(
      FailingMalloc::Then::succeed, [&](size_t) { failure = openFailure(path); },
      [&](size_t index) { EXPECT_NE(failure, 0) << index; });
   EXPECT_EQ(failure, 0);
   EXPECT_GE(count, 2u) << "the listing of the folder above and its own";
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
   EXPECT_EQ(platform::openTextFileIn(&directory, "a.txt", &file), ENOENT);
   EXPECT_EQ(platform::openTextFileIn(&directory, "x.txt", &file), EISDIR);
   platform::closeDirectory(&directory);
}
