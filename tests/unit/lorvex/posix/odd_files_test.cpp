// Files and folders that are something else, or may not be read.
#include "support/scratch_folder.h"
#include "unit/lorvex/error_files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <sys/fsuid.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

using testing::HasSubstr;

class OddFile : public testing::Test
{
protected:
   const ScratchFolder folder_;
};

class OddFolder : public OddFile
{
};

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

} // namespace

TEST_F(OddFile, ThatIsAFifoCannotBeOpened)
{
   ASSERT_EQ(mkfifo(folder_.path("x.txt").c_str(), 0600), 0);
   EXPECT_EQ(searchFile(folder_.path("x.txt"), 1), failedToOpen(folder_.path("x.txt")));
}

TEST_F(OddFile, ThatIsADanglingLinkCannotBeOpened)
{
   ASSERT_EQ(symlink("nothing", folder_.path("x.txt").c_str()), 0);
   EXPECT_EQ(searchFile(folder_.path("x.txt"), 1), failedToOpen(folder_.path("x.txt")));
}

TEST_F(OddFile, ThatMayNotBeReadCannotBeOpened)
{
   const std::string path = folder_.write("x.txt", document(entry(1, "one")));
   ASSERT_EQ(chmod(folder_.path().c_str(), 0755), 0);
   ASSERT_EQ(chmod(path.c_str(), 0), 0);
   const OrdinaryUser user;
   EXPECT_EQ(searchFile(path, 1), failedToOpen(path));
   EXPECT_EQ(searchFolder(folder_.path(), 1), failedToOpen(path));
}

TEST_F(OddFile, WithANameThatIsNotUtf8IsSearched)
{
   const std::string path = folder_.write("\xFF\xC3.txt", document(entry(1, "one")));
   EXPECT_EQ(searchFile(path, 1), found("one"));
   EXPECT_EQ(searchFolder(folder_.path(), 1), found("one"));
}

TEST_F(OddFile, WithABackslashInItsNameIsPassedOver)
{
   folder_.write("a\\b.txt", document(entry("abc", "bad")));
   EXPECT_EQ(searchFolder(folder_.path(), 1), notFound());
}

TEST_F(OddFolder, OnlyWhatLeadsToARegularFileIsSearched)
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

TEST_F(OddFolder, ALinkToAFileIsSearched)
{
   folder_.write("sub/one", document(entry(1, "one")));
   ASSERT_EQ(symlink("sub/one", folder_.path("link.txt").c_str()), 0);
   EXPECT_EQ(searchFolder(folder_.path(), 1), found("one"));
}

TEST_F(OddFolder, ThatMayNotBeListedFails)
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
