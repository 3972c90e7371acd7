// What nobody meant to be an error description file, and folders that do not hold still.
#include "error_files.h"

#include "support/scratch_folder.h"

#include <atomic>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <random>
#include <string>
#include <thread>

namespace {

using testing::AnyOf;
using testing::HasSubstr;

class BadErrorFile : public testing::Test
{
protected:
   const ScratchFolder folder_;
};

class BadErrorFolder : public BadErrorFile
{
};

const std::string kHead = "<?xml version=\"1.0\">\n<tvdocument>\n";
constexpr std::uintmax_t kMegabyte = 1024 * 1024;

// Every byte value, many times, in an order without a pattern and the same in every run.
std::string noise(size_t size)
{
   std::mt19937 source(1);
   std::string bytes(size, 0);
   for (char& byte : bytes)
      byte = static_cast<char>(source());
   return bytes;
}

} // namespace

TEST_F(BadErrorFile, ThatIsBinaryHasNoText)
{
   EXPECT_EQ(searchFile(folder_.write("a.txt", noise(1000000)), 1), notFound());
}

TEST_F(BadErrorFile, WithABinaryBodyEndsInADocumentedWay)
{
   // The noise has lines with a NUL byte first; before them nothing in it is a tag.
   const std::string path = folder_.write("a.txt", kHead + noise(1000000));
   EXPECT_EQ(searchFile(path, 1), failedHeading());
   const std::string open = kHead + "<tverror code=\"1\">\n";
   EXPECT_EQ(searchFile(folder_.write("b.txt", open + noise(1000000)), 1), failedWithoutEnd());
}

TEST_F(BadErrorFile, Of100MegabytesIsPassedOverWithoutHoldingIt)
{
   const std::string path = folder_.write("a.txt", "");
   std::filesystem::resize_file(path, 100 * kMegabyte);
   EXPECT_EQ(searchFile(path, 1), notFound());
}

TEST_F(BadErrorFile, With100MegabytesInACommentHasNoText)
{
   const std::string path = folder_.write("a.txt", kHead + "<tvcomment>\n");
   std::filesystem::resize_file(path, 100 * kMegabyte);
   EXPECT_EQ(searchFile(path, 1), notFound());
}

TEST_F(BadErrorFile, With100MegabytesOfNulBytesInItsBodyFails)
{
   const std::string path = folder_.write("a.txt", kHead);
   std::filesystem::resize_file(path, 100 * kMegabyte);
   EXPECT_EQ(searchFile(path, 1), failedHeading());
}

TEST_F(BadErrorFile, With100MegabytesInAnEntryThatDoesNotCloseFails)
{
   const std::string path = folder_.write("a.txt", kHead + "<tverror code=\"1\">\n");
   std::filesystem::resize_file(path, 100 * kMegabyte);
   EXPECT_EQ(searchFile(path, 1), failedWithoutEnd());
}

TEST_F(BadErrorFile, ALineOf10MegabytesIsPassedOverOutsideAnEntry)
{
   const std::string line(10 * kMegabyte, 'x');
   EXPECT_EQ(searchFile(folder_.write("a.txt", document(line + "\n" + entry(1, "one"))), 1),
             found("one"));
   EXPECT_EQ(searchFile(folder_.write("b.txt", line), 1), notFound());
}

TEST_F(BadErrorFile, ALineOf10MegabytesInAnEntryIsItsText)
{
   const std::string line(10 * kMegabyte, 'x');
   const Search search = searchFile(folder_.write("a.txt", document(entry(1, line))), 1);
   EXPECT_EQ(search.code, 0);
   EXPECT_EQ(search.text.size(), line.size());
   EXPECT_TRUE(search.text == line);
}

TEST_F(BadErrorFile, WithoutClosingTagsHasNoTextOrFails)
{
   EXPECT_EQ(searchFile(folder_.write("a.txt", kHead + "<tvcomment>\nfree\n" + entry(1, "one")), 1),
             notFound());
   EXPECT_EQ(searchFile(folder_.write("b.txt", kHead + entry(2, "two")), 1), notFound());
   EXPECT_EQ(searchFile(folder_.write("c.txt", kHead + "<tverror code=\"1\">\none\n"), 1),
             failedWithoutEnd());
}

TEST_F(BadErrorFile, ThatIsAFolderCannotBeOpened)
{
   EXPECT_EQ(searchFile(folder_.makeFolder("x.txt"), 1), failedToOpen(folder_.path("x.txt")));
}

TEST_F(BadErrorFolder, ThatKeepsVanishingGivesTheTextOrNothingOrADocumentedFailure)
{
   const std::string path = folder_.path("sub");
   std::atomic<bool> isOver = false;
   std::thread changing([&] {
      while (!isOver) {
         std::error_code ignored;
         std::filesystem::create_directory(path, ignored);
         for (const char* name : {"sub/a.txt", "sub/b.txt", "sub/c.txt"})
            std::ofstream(folder_.path(name)) << document(entry(name[4], "text"));
         std::filesystem::remove_all(path, ignored);
      }
   });
   for (int i = 0; i < 500; ++i) {
      const Search search = searchFolder(path, 'c');
      if (search.code == 0) {
         EXPECT_THAT(search.text, AnyOf("", "text"));
      } else {
         EXPECT_EQ(search.code, -52006);
         EXPECT_EQ(search.text, "");
         // A file may be half written, so an entry without its end is one of the answers.
         EXPECT_THAT(search.json, AnyOf(HasSubstr("open dir failed"),
                                        HasSubstr("Could not open status explanations file"),
                                        HasSubstr("Could not find the end of the status code"),
                                        HasSubstr("Could not successfully read the status data!")));
      }
   }
   isOver = true;
   changing.join();
}
