// What nobody meant to be an error description file, and folders that do not hold still.
#include "error_files.h"

#include "support/scratch_folder.h"

#include <atomic>
#include <gmock/gmock.h>
#include <random>
#include <string>
#include <sys/fsuid.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>

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

// This thread's rights on files, for the time of a test, as those of a user who is nobody special:
// the super-user may read everything. For any other user it changes nothing.
class OrdinaryUser
{
public:
   OrdinaryUser()
      : user_(static_cast<uid_t>(setfsuid(kNobody)))
   {
   }
   ~OrdinaryUser() { setfsuid(user_); }
   OrdinaryUser(const OrdinaryUser&) = delete;
   OrdinaryUser& operator=(const OrdinaryUser&) = delete;

private:
   static constexpr uid_t kNobody = 65534;
   const uid_t user_;
};

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

TEST_F(BadErrorFile, ThatIsAFifoCannotBeOpened)
{
   ASSERT_EQ(mkfifo(folder_.path("x.txt").c_str(), 0600), 0);
   EXPECT_EQ(searchFile(folder_.path("x.txt"), 1), failedToOpen(folder_.path("x.txt")));
}

TEST_F(BadErrorFile, ThatIsADanglingLinkCannotBeOpened)
{
   ASSERT_EQ(symlink("nothing", folder_.path("x.txt").c_str()), 0);
   EXPECT_EQ(searchFile(folder_.path("x.txt"), 1), failedToOpen(folder_.path("x.txt")));
}

TEST_F(BadErrorFile, ThatMayNotBeReadCannotBeOpened)
{
   const std::string path = folder_.write("x.txt", document(entry(1, "one")));
   ASSERT_EQ(chmod(folder_.path().c_str(), 0755), 0);
   ASSERT_EQ(chmod(path.c_str(), 0), 0);
   const OrdinaryUser user;
   EXPECT_EQ(searchFile(path, 1), failedToOpen(path));
   EXPECT_EQ(searchFolder(folder_.path(), 1), failedToOpen(path));
}

TEST_F(BadErrorFile, WithANameThatIsNotUtf8IsSearched)
{
   const std::string path = folder_.write("\xFF\xC3.txt", document(entry(1, "one")));
   EXPECT_EQ(searchFile(path, 1), found("one"));
   EXPECT_EQ(searchFolder(folder_.path(), 1), found("one"));
}

TEST_F(BadErrorFile, WithABackslashInItsNameIsPassedOver)
{
   folder_.write("a\\b.txt", document(entry("abc", "bad")));
   EXPECT_EQ(searchFolder(folder_.path(), 1), notFound());
}

TEST_F(BadErrorFolder, OnlyWhatLeadsToARegularFileIsSearched)
{
   folder_.makeFolder("folder.txt");
   ASSERT_EQ(mkfifo(folder_.path("fifo.txt").c_str(), 0600), 0);
   ASSERT_EQ(symlink("nothing", folder_.path("dangling.txt").c_str()), 0);
   ASSERT_EQ(symlink("loop.txt", folder_.path("loop.txt").c_str()), 0);
   ASSERT_EQ(symlink("fifo.txt", folder_.path("to_fifo.txt").c_str()), 0);
   ASSERT_EQ(symlink("/dev/zero", folder_.path("device.txt").c_str()), 0);
   sockaddr_un address{};
   address.sun_family = AF_UNIX;
   folder_.path("socket.txt").copy(address.sun_path, sizeof address.sun_path - 1);
   const int socket = ::socket(AF_UNIX, SOCK_STREAM, 0);
   ASSERT_EQ(bind(socket, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
   EXPECT_EQ(searchFolder(folder_.path(), 1), notFound());
   close(socket);
}

TEST_F(BadErrorFolder, ALinkToAFileIsSearched)
{
   folder_.write("sub/one", document(entry(1, "one")));
   ASSERT_EQ(symlink("sub/one", folder_.path("link.txt").c_str()), 0);
   EXPECT_EQ(searchFolder(folder_.path(), 1), found("one"));
}

TEST_F(BadErrorFolder, ThatMayNotBeListedFails)
{
   const std::string path = folder_.makeFolder("sub");
   folder_.write("sub/a.txt", document(entry(1, "one")));
   ASSERT_EQ(chmod(folder_.path().c_str(), 0755), 0);
   ASSERT_EQ(chmod(path.c_str(), 0), 0);
   Search search;
   {
      const OrdinaryUser user;
      search = searchFolder(path, 1);
   }
   ASSERT_EQ(chmod(path.c_str(), 0700), 0);
   EXPECT_EQ(search.code, -52006);
   EXPECT_THAT(search.json, HasSubstr("open dir failed"));
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
