#include "platform/text_file.h"

#include "support/failing_malloc.h"
#include "support/open_descriptors.h"
#include "support/scratch_folder.h"
#include "unit/platform/lines_of_file.h"

#include <cerrno>
#include <filesystem>
#include <gmock/gmock.h>
#include <random>
#include <string>
#include <vector>

namespace {

using testing::AnyOf;
using testing::ElementsAre;
using testing::IsEmpty;

} // namespace

TEST(TextFile, LinesKeepTheirLineFeeds)
{
   const ScratchFolder folder;
   const std::string path = folder.write("a.txt", "one\n\nlast");
   EXPECT_THAT(readLines(path), ElementsAre("one\n", "\n", "last"));
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

TEST(TextFile, RelativePathsStartAtTheWorkingFolder)
{
   const ScratchFolder folder;
   folder.write("Sub/a.txt", "found");
   const std::filesystem::path before = std::filesystem::current_path();
   std::filesystem::current_path(folder.path());
   EXPECT_EQ(openFailure("sub\\A.TXT"), 0);
   EXPECT_EQ(openFailure(".\\sub\\..\\sub\\A.TXT"), 0);
   std::filesystem::current_path(before);
}

TEST(TextFile, WhatIsMissingIsTheSystemsFailure)
{
   const ScratchFolder folder;
   folder.write("a.txt", "");
   EXPECT_EQ(openFailure(folder.path("b.txt")), ENOENT);
   EXPECT_EQ(openFailure(folder.path("b/a.txt")), ENOENT);
   EXPECT_THAT(openFailure(folder.path("a.txt/b.txt")), AnyOf(ENOTDIR, ENOENT));
   EXPECT_EQ(openFailure(""), ENOENT);
   for (const size_t length : {256u, 5000u})
      EXPECT_THAT(openFailure(folder.path(std::string(length, 'x'))), AnyOf(ENAMETOOLONG, ENOENT));
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
   EXPECT_GE(count, 2u) << "the path and the file at the least";
}

TEST(TextFile, AFolderIsRefused)
{
   const ScratchFolder folder;
   EXPECT_THAT(openFailure(folder.makeFolder("x.txt")), AnyOf(EISDIR, EACCES));
}

TEST(TextFile, AProgramThatIsStartedMeanwhileDoesNotInheritIt)
{
   const ScratchFolder folder;
   const std::string path = folder.write("a.txt", "");
   readLines(path); // what is made once in the process
   const size_t inherited = inheritedDescriptors();
   const size_t before = openDescriptors();
   platform::TextFile file{};
   ASSERT_EQ(platform::openTextFile(path.c_str(), &file), 0);
   EXPECT_EQ(openDescriptors(), before + 1);
   EXPECT_EQ(inheritedDescriptors(), inherited);
   platform::closeTextFile(&file);
   EXPECT_EQ(openDescriptors(), before) << "the file was not closed";
}
