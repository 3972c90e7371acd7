// What a local endpoint is in the file system, and what a connection's thread is to the system.
#include "service/acceptor.h"
#include "service/stream.h"
#include "unit/service/client.h"
#include "unit/service/what_fails.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace zerova::test {
namespace {

using testing::HasSubstr;

namespace fs = std::filesystem;

// A folder of the test's own, not yet made; removed in the end.
struct OwnFolder
{
   ~OwnFolder() { fs::remove_all(path); }
   std::string path = (fs::temp_directory_path() / ownEndpointName()).string();
};

TEST(Listener, RemovesItsSocketAndTheFolderThatItMade)
{
   const OwnFolder folder;
   {
      const Listener listener = Listener::local("com.zerova", folder.path);
      EXPECT_TRUE(fs::is_socket(folder.path + "/com.zerova"));
   }
   EXPECT_FALSE(fs::exists(folder.path));
}

TEST(Listener, LeavesAFolderThatWasThere)
{
   const OwnFolder folder;
   fs::create_directory(folder.path);
   {
      const Listener listener = Listener::local("com.zerova", folder.path);
   }
   EXPECT_TRUE(fs::is_empty(folder.path));
}

TEST(Listener, LeavesAFolderThatOthersUse)
{
   const OwnFolder folder;
   {
      const Listener listener = Listener::local("com.zerova", folder.path);
      std::ofstream(folder.path + "/another") << "file";
   }
   EXPECT_FALSE(fs::exists(folder.path + "/com.zerova"));
   EXPECT_TRUE(fs::exists(folder.path + "/another"));
}

TEST(Listener, MakesAndRemovesTheFoldersOfANameWithASlash)
{
   const OwnFolder folder;
   {
      const Listener listener = Listener::local("one/two", folder.path);
      EXPECT_TRUE(fs::is_socket(folder.path + "/one/two"));
   }
   EXPECT_FALSE(fs::exists(folder.path));
}

TEST(Listener, ReplacesASocketThatADeadProcessLeft)
{
   const OwnFolder folder;
   {
      const Listener listener = Listener::local("com.zerova", folder.path);
      fs::create_hard_link(folder.path + "/com.zerova", folder.path + "/kept");
   }
   fs::rename(folder.path + "/kept", folder.path + "/com.zerova");
   const Listener listener = Listener::local("com.zerova", folder.path);
   EXPECT_NO_THROW(Stream::connectLocal("com.zerova", folder.path));
}

TEST(Listener, NamesTheRemedyWhenTheFolderCannotBeMade)
{
   const OwnFolder folder;
   std::ofstream(folder.path) << "a file in the folder's place";
   EXPECT_THAT(whatFails([&] { Listener::local("com.zerova", folder.path); }),
               HasSubstr("ZEROVA_ENDPOINT_DIR"));
   fs::remove(folder.path);
}

TEST(Listener, NamesTheRemedyWhenTheNameIsTooLong)
{
   const OwnFolder folder;
   EXPECT_THAT(whatFails([&] { Listener::local(std::string(200, 'n'), folder.path); }),
               HasSubstr("shorter name"));
}

TEST(Acceptor, FreesTheThreadsOfFinishedConnections)
{
   const std::string name = ownEndpointName();
   Acceptor acceptor(Listener::local(name), "acceptor-test",
                     [](Stream& stream, const StopSignal& stop) { stream.write("x", stop); });
   for (int i = 0; i < 500; ++i) {
      Stream client = Stream::connectLocal(name);
      ASSERT_EQ(readToEnd(client), "x");
   }
   const auto threads = std::distance(fs::directory_iterator("/proc/self/task"), {});
   EXPECT_LT(threads, 100);
}

} // namespace
} // namespace zerova::test
