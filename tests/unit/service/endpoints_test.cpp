#include "service/acceptor.h"
#include "service/locator_peer.h"
#include "service/loopback_address.h"
#include "service/stream.h"

#include "client.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <set>

namespace zerova::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

namespace fs = std::filesystem;

// A folder of the test's own, not yet made; removed in the end.
struct OwnFolder
{
   ~OwnFolder() { fs::remove_all(path); }
   std::string path = (fs::temp_directory_path() / ownEndpointName()).string();
};

std::string whatFails(const std::function<void()>& action)
{
   try {
      action();
      return {};
   } catch (const std::runtime_error& error) {
      return error.what();
   }
}

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

TEST(Listener, RefusesAnEndpointThatIsServed)
{
   const OwnFolder folder;
   const Listener first = Listener::local("com.zerova", folder.path);
   EXPECT_THAT(whatFails([&] { Listener::local("com.zerova", folder.path); }),
               HasSubstr("another process serves"));
   EXPECT_TRUE(fs::is_socket(folder.path + "/com.zerova"));
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

TEST(Listener, ListensOnLoopbackAddressesOnly)
{
   EXPECT_THAT(whatFails([] { Listener::tcp("0.0.0.0"); }), HasSubstr("no loopback address"));
   EXPECT_THAT(whatFails([] { Listener::tcp("localhost"); }), HasSubstr("no loopback address"));
}

TEST(Listener, RefusesAPortThatIsTaken)
{
   const LoopbackAddress address;
   const Listener first = Listener::tcp(address.text());
   EXPECT_THAT(whatFails([&] { Listener::tcp(address.text(), first.port()); }),
               HasSubstr(first.description()));
}

TEST(LoopbackAddress, IsDifferentForEachOwner)
{
   std::vector<LoopbackAddress> addresses(50);
   std::set<std::string> texts;
   for (const LoopbackAddress& address : addresses) {
      EXPECT_THAT(address.text(), StartsWith("127."));
      texts.insert(address.text());
   }
   EXPECT_EQ(texts.size(), addresses.size());
}

TEST(LoopbackAddress, IsKnownToOthersAsTaken)
{
   const LoopbackAddress address;
   EXPECT_FALSE(ReservedAddress::take(address.text(), 35800));
}

TEST(LoopbackAddress, HasNobodyListening)
{
   const LoopbackAddress address;
   EXPECT_THAT(whatFails([&] { Stream::connectTcp(address.text(), kLocatorPort); }),
               HasSubstr("refused"));
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

TEST(Acceptor, StopsTwice)
{
   Acceptor acceptor(Listener::local(ownEndpointName()), "acceptor-test",
                     [](Stream&, const StopSignal&) {});
   acceptor.stop();
   acceptor.stop();
}

TEST(LocatorPeer, SendsItsReplyAndKeepsTheRequest)
{
   const LoopbackAddress address;
   LocatorPeer locator(address.text(), "Port=1234\r\n");
   Stream client = Stream::connectTcp(address.text(), kLocatorPort);
   ASSERT_TRUE(writeAll(client, "GET Trevanta%2FZerova HTTP/1.0\r\n\r\n"));
   EXPECT_EQ(readToEnd(client), "Port=1234\r\n");
   EXPECT_THAT(locator.requests(), ElementsAre("GET Trevanta%2FZerova HTTP/1.0\r\n\r\n"));
}

TEST(RemotePeer, HasALocatorThatNamesTheServicePort)
{
   RemotePeer remote(Script().send("service"));
   Stream locator = Stream::connectTcp(remote.host(), kLocatorPort);
   ASSERT_TRUE(writeAll(locator, "GET x HTTP/1.0\r\n\r\n"));
   EXPECT_THAT(readToEnd(locator),
               HasSubstr("\r\nMapping=" + std::to_string(remote.service().port()) + "\r\n"));
   Stream service = Stream::connectTcp(remote.host(), remote.service().port());
   EXPECT_EQ(readToEnd(service), "service");
}

} // namespace
} // namespace zerova::test
