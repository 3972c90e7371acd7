#include "service/acceptor.h"
#include "service/locator_peer.h"
#include "service/loopback_address.h"
#include "service/stream.h"

#include "client.h"
#include "what_fails.h"

#include <gmock/gmock.h>

#include <set>

namespace zerova::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

TEST(Listener, RefusesAnEndpointThatIsServed)
{
   const std::string name = ownEndpointName();
   const Listener first = Listener::local(name);
   EXPECT_THAT(whatFails([&] { Listener::local(name); }), HasSubstr("another process serves"));
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
               HasSubstr("cannot connect to " + address.text()));
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
