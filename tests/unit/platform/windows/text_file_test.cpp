// Text files, and what is none, on this system alone.
#include "platform/text_file.h"

#include "support/open_descriptors.h"
#include "support/scratch_folder.h"
#include "unit/platform/lines_of_file.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <filesystem>
#include <string>

#include <windows.h>

namespace {

using testing::ElementsAre;

// A file that somebody else has open for writing.
class WrittenFile
{
public:
   WrittenFile(const std::string& path, DWORD share)
      : file_(CreateFileW(std::filesystem::path(path).c_str(), GENERIC_WRITE, share, nullptr,
                          OPEN_EXISTING, 0, nullptr))
   {
      EXPECT_NE(file_, INVALID_HANDLE_VALUE);
   }
   ~WrittenFile() { CloseHandle(file_); }
   WrittenFile(const WrittenFile&) = delete;
   WrittenFile& operator=(const WrittenFile&) = delete;

private:
   const HANDLE file_;
};

TEST(TextFileOfWindows, LineEndIsOneAndTheOldMarkEndsTheFile)
{
   const ScratchFolder folder;
   const std::string path = folder.write("a.txt", "one\r\ntwo\n\rthree\x1A"
                                                  "four\n");
   EXPECT_THAT(readLines(path), ElementsAre("one\n", "two\n", "\rthree"));
}

TEST(TextFileOfWindows, LineEndAcrossTheEndOfABlockIsOne)
{
   const ScratchFolder folder;
   for (const size_t length : {32766u, 32767u, 32768u}) {
      const std::string text(length, 'x');
      const std::string path = folder.write("a.txt", text + "\r\nend");
      EXPECT_THAT(readLines(path, 40000), ElementsAre(text + "\n", "end")) << length;
   }
}

TEST(TextFileOfWindows, NameMayBeJapanese)
{
   const ScratchFolder folder;
   EXPECT_THAT(readLines(folder.write("\u65E5\u672C/\u672C.txt", "found")), ElementsAre("found"));
}

TEST(TextFileOfWindows, WhatIsNoFileOnADiskIsRefusedAndLeavesNothingOpen)
{
   const ScratchFolder folder;
   openFailure(folder.path("NUL")); // what is made once in the process
   const size_t before = openDescriptors();
   for (const char* name : {"CON", "NUL", "COM1", "nul.txt"})
      EXPECT_NE(openFailure(folder.path(name)), 0) << name;
   EXPECT_EQ(openFailure(folder.path()), EACCES);
   EXPECT_EQ(openFailure(folder.path("no\xFF.txt")), ENOENT);
   EXPECT_EQ(openDescriptors(), before);
}

TEST(TextFileOfWindows, FileThatIsBeingWrittenIsReadUnlessItsWriterSharesItWithNobody)
{
   const ScratchFolder folder;
   const std::string path = folder.write("a.txt", "found");
   {
      const WrittenFile shared(path, FILE_SHARE_READ | FILE_SHARE_WRITE);
      EXPECT_THAT(readLines(path), ElementsAre("found"));
   }
   const WrittenFile own(path, 0);
   EXPECT_EQ(openFailure(path), EACCES);
}

} // namespace
