#include "platform/text_file.h"

#include "support/failing_malloc.h"
#include "support/scratch_folder.h"
#include "unit/platform/odd_file_system.h"
#include "unit/transport/descriptors.h"

#include <cerrno>
#include <climits>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <random>
#include <string>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// The lines of a file, as they come into a buffer of size bytes. A byte behind the buffer guards
// it.
std::vector<std::string> readLines(const std::string& path, size_t size = 1024)
{
   platform::TextFile file{};
   const int failure = platform::openTextFile(path.c_str(), &file);
   EXPECT_EQ(failure, 0) << path;
   std::vector<std::string> lines;
   if (failure) return lines;
   std::vector<char> buffer(size + 1, '#');
   while (platform::readLine(&file, buffer.data(), size))
      lines.emplace_back(buffer.data());
   EXPECT_EQ(buffer[size], '#');
   platform::closeTextFile(&file);
   return lines;
}

// The number of the failure to open path, 0 for success.
int openFailure(const std::string& path)
{
   platform::TextFile file{};
   const int failure = platform::openTextFile(path.c_str(), &file);
   if (!failure) platform::closeTextFile(&file);
   return failure;
}

} // namespace

TEST(TextFile, LinesKeepTheirLineFeedsAndCarriageReturns)
{
   const ScratchFolder folder;
   const std::string path = folder.write("a.txt", "one\ntwo\r\n\nlast");
   EXPECT_THAT(readLines(path), ElementsAre("one\n", "two\r\n", "\n", "last"));
}

TEST(TextFile, ALineLongerThanTheBufferComesInPieces)
{
   const ScratchFolder folder;
   const std::string path = folder.write("a.txt", std::string(3000, 'x') + "\nend\n");
   EXPECT_THAT(readLines(path), ElementsAre(std::string(1023, 'x'), std::string(1023, 'x'),
                                            std::string(954, 'x') + "\n", "end\n"));
}

TEST(TextFile, PiecesKeepToTheBufferWhereverTheyLieInALargeFile)
{
   const ScratchFolder folder;
   const std::vector<std::string> lines =
      readLines(folder.write("a.txt", std::string(1023 * 500, 'x')));
   EXPECT_EQ(lines.size(), 500u);
   EXPECT_THAT(lines, testing::Each(std::string(1023, 'x')));
}

TEST(TextFile, ALineThatFillsTheBufferLeavesItsLineFeedForTheNextPiece)
{
   const ScratchFolder folder;
   const std::string path = folder.write("a.txt", "1234567\n123456\n");
   EXPECT_THAT(readLines(path, 8), ElementsAre("1234567", "\n", "123456\n"));
}

TEST(TextFile, LinesOfAnyLengthComeWholeWhereverTheyLieInALargeFile)
{
   const ScratchFolder folder;
   std::vector<std::string> lines;
   std::string content;
   for (size_t i = 0; content.size() < 300000; ++i) {
      lines.push_back(std::string(i * 7 % 1022, static_cast<char>('a' + i % 26)) + "\n");
      content += lines.back();
   }
   EXPECT_EQ(readLines(folder.write("a.txt", content)), lines);
}

TEST(TextFile, ShortLinesKeepToBuffersOfAboutTheirOwnSize)
{
   const ScratchFolder folder;
   for (size_t size = 30; size < 36; ++size)
      for (size_t length = 28; length < 36; ++length) {
         const std::string line = std::string(length, 'x') + "\n";
         std::vector<std::string> pieces{"\n"}; // of a line with which the file's text is there
         for (size_t begin = 0; begin < line.size(); begin += size - 1)
            pieces.push_back(line.substr(begin, size - 1));
         EXPECT_EQ(readLines(folder.write("a.txt", "\n" + line), size), pieces) << length;
      }
}

TEST(TextFile, SkippingStopsAtTheLinesThatReadingWouldFind)
{
   constexpr size_t kSize = 8; // pieces of 7
   std::mt19937 random(2026);
   const ScratchFolder folder;
   for (int round = 0; round < 500; ++round) {
      std::string content(random() % 200, 'x');
      for (char& byte : content)
         byte = "<\nxyz"[random() % (round % 2 ? 3 : 5)];
      if (round % 10 == 0) content.insert(0, std::string(33000, 'x'));
      const std::string path = folder.write("a.txt", content);
      std::vector<std::string> expected = readLines(path, kSize);
      std::erase_if(expected, [](const std::string& line) { return line[0] != '<'; });

      platform::TextFile file{};
      ASSERT_EQ(platform::openTextFile(path.c_str(), &file), 0);
      std::vector<std::string> found;
      char line[kSize];
      while (platform::skipLines(&file, '<', kSize) && platform::readLine(&file, line, kSize))
         found.emplace_back(line);
      EXPECT_FALSE(platform::readLine(&file, line, kSize)) << "something was left";
      platform::closeTextFile(&file);

      ASSERT_EQ(found, expected) << content;
   }
}

TEST(TextFile, AnEmptyFileHasNoLines)
{
   const ScratchFolder folder;
   EXPECT_THAT(readLines(folder.write("a.txt", "")), IsEmpty());
}

TEST(TextFile, BackslashesSeparateLikeSlashes)
{
   const ScratchFolder folder;
   folder.write("a/b/c.txt", "found");
   EXPECT_THAT(readLines(folder.path() + "\\a/b\\c.txt"), ElementsAre("found"));
   EXPECT_THAT(readLines(folder.path() + "\\\\a\\\\b//c.txt"), ElementsAre("found"));
}

TEST(TextFile, ComponentsAreFoundWithoutRegardToCase)
{
   const ScratchFolder folder;
   folder.write("Errors/English/Codes.TXT", "found");
   EXPECT_THAT(readLines(folder.path() + "\\errors\\ENGLISH\\codes.txt"), ElementsAre("found"));
   EXPECT_THAT(readLines(folder.path() + "//errors//ENGLISH//.//codes.txt"), ElementsAre("found"));
}

TEST(TextFile, TheComponentOfThatVeryNameIsPreferred)
{
   const ScratchFolder folder;
   folder.write("ERRORS/a.txt", "upper");
   folder.write("errors/a.txt", "lower");
   EXPECT_THAT(readLines(folder.path("errors/A.TXT")), ElementsAre("lower"));
   EXPECT_THAT(readLines(folder.path("ERRORS/A.TXT")), ElementsAre("upper"));
}

TEST(TextFile, OfSeveralNamesThatDifferInCaseTheFirstByBytesIsTaken)
{
   const ScratchFolder folder;
   for (const char* name : {"errors", "Errors", "eRRORS", "ERRors"})
      folder.write(std::string(name) + "/a.txt", name);
   EXPECT_THAT(readLines(folder.path("ERRORS/a.txt")), ElementsAre("ERRors"));
}

TEST(TextFile, AComponentThatWasFoundIsKept)
{
   const ScratchFolder folder;
   folder.makeFolder("errors");
   folder.write("Errors/a.txt", "not there");
   EXPECT_EQ(openFailure(folder.path("errors/a.txt")), ENOENT);
}

TEST(TextFile, OnlyTheCaseOfAsciiLettersIsDisregarded)
{
   const ScratchFolder folder;
   folder.write("\xC3\x89[/a.txt", "found"); // E with an acute accent
   EXPECT_EQ(openFailure(folder.path("\xC3\xA9[/a.txt")), ENOENT);
   EXPECT_EQ(openFailure(folder.path("\xC3\x89{/a.txt")), ENOENT);
   EXPECT_EQ(openFailure(folder.path("\xC3\x89[/A.txt")), 0);
}

TEST(TextFile, ANameThatIsNotUtf8IsFound)
{
   const ScratchFolder folder;
   EXPECT_THAT(readLines(folder.write("\xFF\xFE.txt", "found")), ElementsAre("found"));
}

TEST(TextFile, RelativePathsStartAtTheWorkingFolder)
{
   const ScratchFolder folder;
   folder.write("Sub/a.txt", "found");
   const std::string before = std::filesystem::current_path().string();
   ASSERT_EQ(chdir(folder.path().c_str()), 0);
   EXPECT_EQ(openFailure("sub\\A.TXT"), 0);
   EXPECT_EQ(openFailure(".\\sub\\..\\sub\\A.TXT"), 0);
   ASSERT_EQ(chdir(before.c_str()), 0);
}

TEST(TextFile, WhatIsMissingIsTheSystemsFailure)
{
   const ScratchFolder folder;
   folder.write("a.txt", "");
   EXPECT_EQ(openFailure(folder.path("b.txt")), ENOENT);
   EXPECT_EQ(openFailure(folder.path("b/a.txt")), ENOENT);
   EXPECT_EQ(openFailure(folder.path("a.txt/b.txt")), ENOTDIR);
   EXPECT_EQ(openFailure(""), ENOENT);
   EXPECT_EQ(openFailure(folder.path(std::string(PATH_MAX, 'x'))), ENAMETOOLONG);
   EXPECT_EQ(openFailure(folder.path(std::string(NAME_MAX + 1, 'x'))), ENAMETOOLONG);
}

TEST(TextFile, ThePathMayBeOneByteShorterThanTheSystemsLimit)
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

TEST(TextFile, AnEntryWithANameLongerThanAnyFilesIsNotTakenForAnother)
{
   const ScratchFolder folder;
   const oddFileSystem::LongName name(std::string(400, 'A'));
   EXPECT_EQ(openFailure(folder.path(std::string(400, 'a'))), ENOENT);
   EXPECT_TRUE(name.isListed());
   EXPECT_THAT(name.asked(), testing::Each(std::string(400, 'a')));
}

TEST(TextFile, WithoutMemoryNothingStaysOpen)
{
   const ScratchFolder folder;
   folder.write("Errors/A.txt", "text");
   const std::string path = folder.path("errors\\a.txt");
   int failure = 0;
   const size_t count = forEachFailingAllocation(
      FailingMalloc::Then::succeed, [&](size_t) { failure = openFailure(path); },
      [&](size_t index) { EXPECT_NE(failure, 0) << index; });
   EXPECT_EQ(failure, 0);
   EXPECT_GE(count, 3u) << "two listings and the file";
}

TEST(TextFile, AFolderIsRefused)
{
   const ScratchFolder folder;
   EXPECT_EQ(openFailure(folder.makeFolder("x.txt")), EISDIR);
}

TEST(TextFile, AFifoIsRefusedWithoutWaitingAndWithoutItsWriterNoticing)
{
   const ScratchFolder folder;
   const std::string path = folder.path("x.txt");
   ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
   EXPECT_EQ(openFailure(path), EINVAL);
   // Opening for writing succeeds only while a reader has the FIFO open.
   EXPECT_EQ(open(path.c_str(), O_WRONLY | O_NONBLOCK), -1);
   EXPECT_EQ(errno, ENXIO);
}

TEST(TextFile, ASocketAndADeviceAreRefused)
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

TEST(TextFile, ALinkLeadsToItsFileAndALinkToNothingIsMissing)
{
   const ScratchFolder folder;
   folder.write("a.txt", "found");
   ASSERT_EQ(symlink("a.txt", folder.path("link.txt").c_str()), 0);
   ASSERT_EQ(symlink("nothing", folder.path("dangling.txt").c_str()), 0);
   folder.write("DANGLING.txt", "another");
   EXPECT_THAT(readLines(folder.path("link.txt")), ElementsAre("found"));
   EXPECT_EQ(openFailure(folder.path("dangling.txt")), ENOENT);
}

TEST(TextFile, AProgramThatIsStartedMeanwhileDoesNotInheritIt)
{
   const ScratchFolder folder;
   const std::string path = folder.write("a.txt", "");
   const int next = descriptors::next();
   platform::TextFile file{};
   ASSERT_EQ(platform::openTextFile(path.c_str(), &file), 0);
   EXPECT_TRUE(descriptors::closesOnExec(next));
   platform::closeTextFile(&file);
   EXPECT_FALSE(descriptors::isOpen(next)) << "the file was not closed";
}

TEST(TextFile, AFifoThatTakesTheFilesPlaceAfterTheLookIsRefusedWithoutWaiting)
{
   const ScratchFolder folder;
   const std::string path = folder.write("a.txt", "text");
   bool isReplaced = false;
   oddFileSystem::afterNextLook(
      [&] { isReplaced = unlink(path.c_str()) == 0 && mkfifo(path.c_str(), 0600) == 0; });
   EXPECT_EQ(openFailure(path), EINVAL);
   EXPECT_TRUE(isReplaced);
}

TEST(TextFile, AFileThatVanishesAfterTheLookIsMissing)
{
   const ScratchFolder folder;
   const std::string path = folder.write("a.txt", "text");
   oddFileSystem::afterNextLook([&] { unlink(path.c_str()); });
   EXPECT_EQ(openFailure(path), ENOENT);
}
