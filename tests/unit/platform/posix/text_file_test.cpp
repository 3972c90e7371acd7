// Text files, and what is none, on this system alone.
#include "platform/text_file.h"

#include "support/scratch_folder.h"
#include "unit/platform/lines_of_file.h"
#include "unit/platform/posix/odd_file_system.h"

#include <cerrno>
#include <climits>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <string>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

using testing::ElementsAre;

TEST(TextFileOfPosix, LinesKeepTheirLineFeedsAndCarriageReturns)
{
   const ScratchFolder folder;
   const std::string path = folder.write("a.txt", "one\ntwo\r\n\nlast");
   EXPECT_THAT(readLines(path), ElementsAre("one\n", "two\r\n", "\n", "last"));
}

TEST(TextFileOfPosix, TheComponentOfThatVeryNameIsPreferred)
{
   const ScratchFolder folder;
   folder.write("ERRORS/a.txt", "upper");
   folder.write("errors/a.txt", "lower");
   EXPECT_THAT(readLines(folder.path("errors/A.TXT")), ElementsAre("lower"));
   EXPECT_THAT(readLines(folder.path("ERRORS/A.TXT")), ElementsAre("upper"));
}

TEST(TextFileOfPosix, OfSeveralNamesThatDifferInCaseTheFirstByBytesIsTaken)
{
   const ScratchFolder folder;
   for (const char* name : {"errors", "Errors", "eRRORS", "ERRors"})
      folder.write(std::string(name) + "/a.txt", name);
   EXPECT_THAT(readLines(folder.path("ERRORS/a.txt")), ElementsAre("ERRors"));
}

TEST(TextFileOfPosix, AComponentThatWasFoundIsKept)
{
   const ScratchFolder folder;
   folder.makeFolder("errors");
   folder.write("Errors/a.txt", "not there");
   EXPECT_EQ(openFailure(folder.path("errors/a.txt")), ENOENT);
}

TEST(TextFileOfPosix, OnlyTheCaseOfAsciiLettersIsDisregarded)
{
   const ScratchFolder folder;
   folder.write("\xC3\x89[/a.txt", "found"); // E with an acute accent
   EXPECT_EQ(openFailure(folder.path("\xC3\xA9[/a.txt")), ENOENT);
   EXPECT_EQ(openFailure(folder.path("\xC3\x89{/a.txt")), ENOENT);
   EXPECT_EQ(openFailure(folder.path("\xC3\x89[/A.txt")), 0);
}

TEST(TextFileOfPosix, ANameThatIsNotUtf8IsFound)
{
   const ScratchFolder folder;
   EXPECT_THAT(readLines(folder.write("\xFF\xFE.txt", "found")), ElementsAre("found"));
}

TEST(TextFileOfPosix, ThePathMayBeOneByteShorterThanTheSystemsLimit)
{
   const ScratchFolder folder;
   folder.write("a.txt", "found");
   for (const std::string name : {"a.txt", "A.TXT"}) {
      const std::string separators(PATH_MAX - 1 - folder.path().size() - name.size(), '/');
      const std::string path = folder.path() + separators + name;
      EXPECT_THAT(readLines(path), ElementsAre("found"));
      EXPECT_EQ(openFailure("/" + path), ENAMETOOLONG);
      EXPECT_EQ(openFailure("//" + path), ENAMETOOLONG);
   }
}

TEST(TextFileOfPosix, AnEntryWithANameLongerThanAnyFilesIsNotTakenForAnother)
{
   const ScratchFolder folder;
   const oddFileSystem::LongName name(std::string(400, 'A'));
   EXPECT_EQ(openFailure(folder.path(std::string(400, 'a'))), ENOENT);
   EXPECT_TRUE(name.isListed());
   EXPECT_THAT(name.asked(), testing::Each(std::string(400, 'a')));
}

TEST(TextFileOfPosix, AFifoIsRefusedWithoutWaitingAndWithoutItsWriterNoticing)
{
   const ScratchFolder folder;
   const std::string path = folder.path("x.txt");
   ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
   EXPECT_EQ(openFailure(path), EINVAL);
   // Opening for writing succeeds only while a reader has the FIFO open.
   EXPECT_EQ(open(path.c_str(), O_WRONLY | O_NONBLOCK), -1);
   EXPECT_EQ(errno, ENXIO);
}

TEST(TextFileOfPosix, ASocketAndADeviceAreRefused)
{
   const ScratchFolder folder;
   sockaddr_un address{};
   address.sun_family = AF_UNIX;
   folder.path("s.txt").copy(address.sun_path, sizeof address.sun_path - 1);
   const int socket = ::socket(AF_UNIX, SOCK_STREAM, 0);
   ASSERT_EQ(bind(socket, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
   EXPECT_EQ(openFailure(folder.path("s.txt")), EINVAL);
   EXPECT_EQ(openFailure("/dev/null"), EINVAL);
   close(socket);
}

TEST(TextFileOfPosix, ALinkLeadsToItsFileAndALinkToNothingIsMissing)
{
   const ScratchFolder folder;
   folder.write("a.txt", "found");
   ASSERT_EQ(symlink("a.txt", folder.path("link.txt").c_str()), 0);
   ASSERT_EQ(symlink("nothing", folder.path("dangling.txt").c_str()), 0);
   folder.write("DANGLING.txt", "another");
   EXPECT_THAT(readLines(folder.path("link.txt")), ElementsAre("found"));
   EXPECT_EQ(openFailure(folder.path("dangling.txt")), ENOENT);
}

TEST(TextFileOfPosix, AFifoThatTakesTheFilesPlaceAfterTheLookIsRefusedWithoutWaiting)
{
   const ScratchFolder folder;
   const std::string path = folder.write("a.txt", "text");
   bool isReplaced = false;
   oddFileSystem::afterNextLook(
      [&] { isReplaced = unlink(path.c_str()) == 0 && mkfifo(path.c_str(), 0600) == 0; });
   EXPECT_EQ(openFailure(path), EINVAL);
   EXPECT_TRUE(isReplaced);
}

TEST(TextFileOfPosix, AFileThatVanishesAfterTheLookIsMissing)
{
   const ScratchFolder folder;
   const std::string path = folder.write("a.txt", "text");
   oddFileSystem::afterNextLook([&] { unlink(path.c_str()); });
   EXPECT_EQ(openFailure(path), ENOENT);
}

TEST(TextFileOfPosix, WhatIsMissingHasTheReasonsOfTheSystem)
{
   const ScratchFolder folder;
   folder.write("a.txt", "");
   EXPECT_EQ(openFailure(folder.path("a.txt/b.txt")), ENOTDIR);
   EXPECT_EQ(openFailure(folder.path(std::string(PATH_MAX, 'x'))), ENAMETOOLONG);
   EXPECT_EQ(openFailure(folder.path(std::string(NAME_MAX + 1, 'x'))), ENAMETOOLONG);
   EXPECT_EQ(openFailure(folder.makeFolder("x.txt")), EISDIR);
}

} // namespace
