// What folders hold on this system alone.
#include "platform/directory.h"

#include "support/scratch_folder.h"
#include "unit/platform/listed_folder.h"
#include "unit/platform/posix/odd_file_system.h"

#include <cerrno>
#include <filesystem>
#include <gmock/gmock.h>
#include <set>
#include <string>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

using testing::Pair;
using testing::UnorderedElementsAre;

TEST(DirectoryOfPosix, ALinkCountsAsWhatItLeadsTo)
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

TEST(DirectoryOfPosix, ASocketIsNotRegular)
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

TEST(DirectoryOfPosix, ANameThatNoPathCanHoldIsNotRegular)
{
   const ScratchFolder folder;
   folder.write("a\\b.txt", "");
   EXPECT_FALSE(list(folder.path()).at("a\\b.txt"));
}

TEST(DirectoryOfPosix, ANameThatIsNotUtf8IsListedAsItIs)
{
   const ScratchFolder folder;
   folder.write("\xFF.txt", "");
   EXPECT_TRUE(list(folder.path()).at("\xFF.txt"));
}

TEST(DirectoryOfPosix, TheLongestNameIsListedWhole)
{
   const ScratchFolder folder;
   const std::string name(255, 'n');
   folder.write(name, "");
   EXPECT_TRUE(list(folder.path()).at(name));
}

TEST(DirectoryOfPosix, ANameLongerThanItsRoomIsCut)
{
   const ScratchFolder folder;
   for (const size_t length : {259u, 260u, 400u}) {
      const oddFileSystem::LongName name(std::string(length, 'n'));
      EXPECT_THAT(list(folder.path()), UnorderedElementsAre(Pair(std::string(259, 'n'), false),
                                                            Pair(".", false), Pair("..", false)));
   }
}

TEST(DirectoryOfPosix, AFolderThatVanishesWhileListedEndsTheListing)
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

TEST(DirectoryOfPosix, AFifoIsNeitherAFolderNorRegular)
{
   const ScratchFolder folder;
   ASSERT_EQ(mkfifo(folder.path("fifo.txt").c_str(), 0600), 0);
   EXPECT_FALSE(list(folder.path()).at("fifo.txt"));
   EXPECT_EQ(folderFailure(folder.path("fifo.txt")), ENOTDIR);
}

TEST(DirectoryOfPosix, WhatIsAFileIsNoFolderAndNoPathIsMissing)
{
   const ScratchFolder folder;
   EXPECT_EQ(folderFailure(folder.write("a.txt", "")), ENOTDIR);
   EXPECT_EQ(folderFailure(""), ENOENT);
}

TEST(DirectoryOfPosix, AListedFileIsFoundByThatVeryName)
{
   const ScratchFolder folder;
   folder.write("A.txt", "text");
   platform::Directory directory{};
   ASSERT_EQ(platform::openDirectory(folder.path().c_str(), &directory), 0);
   platform::TextFile file{};
   EXPECT_EQ(platform::openTextFileIn(&directory, "a.txt", &file), ENOENT);
   platform::closeDirectory(&directory);
}

} // namespace
