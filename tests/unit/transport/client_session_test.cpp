#include "transport/client_session.h"

#include "unit/transport/counted_heap.h"
#include "unit/transport/peers.h"
#include "unit/transport/wire.h"

#include <future>
#include <gtest/gtest.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <thrift/transport/TBufferTransports.h>
#include <thrift/transport/TSocket.h>

namespace {

using apache::thrift::transport::TTransportException;
using namespace wire;
using peers::Descriptor;
using std::string_literals::operator""s;

constexpr uint16_t kLocatorPort = 3580;

// What open throws, as type and text.
std::pair<int, std::string> failureOfOpening(const std::string& pipe, const std::string& host)
{
   try {
      zerova::openClientSession(pipe, host);
   } catch (const TTransportException& failure) {
      return {failure.getType(), failure.what()};
   }
   return {-1, "opened"};
}

// Serves one look-up with the given reply.
std::string serveLookUp(const peers::TcpListener& locator, const std::string& reply)
{
   Descriptor client = locator.accept();
   const std::string request = peers::receiveThrough(client, "\r\n\r\n");
   peers::sendAll(client, reply);
   return request;
}

TEST(LocalSession, CallGoesOutAsOneFrameAndItsReplyComesBack)
{
   peers::LocalListener service;
   const auto session = zerova::openClientSession(service.name(), "");
   Descriptor client = service.accept();
   peers::sendAll(client,
                  frame(header(reply, "isDebug") + field(boolean, 0) + byte(1) + byte(stop)));

   EXPECT_TRUE(session->client.isDebug());
   EXPECT_EQ(peers::receive(client, 24), "\0\0\0\x14\x80\x01\0\x01\0\0\0\x07isDebug\0\0\0\0\0"s);
}

TEST(LocalSession, SendsNothingByItself)
{
   peers::LocalListener service;
   auto session = zerova::openClientSession(service.name(), "");
   Descriptor client = service.accept();
   session.reset();
   EXPECT_EQ(peers::receiveToEnd(client), "");
}

TEST(LocalSession, EndClosesItsConnection)
{
   peers::LocalListener service;
   const size_t before = peers::openDescriptors();
   zerova::openClientSession(service.name(), "").reset();
   EXPECT_EQ(peers::openDescriptors(), before);
}

TEST(LocalSession, ServiceThatGoesAwayBetweenCallsFailsTheCallAndLeavesTheSession)
{
   peers::LocalListener service;
   const auto session = zerova::openClientSession(service.name(), "");
   service.accept().close();
   for (int call = 0; call < 2; ++call) {
      try {
         session->client.isDebug();
         FAIL() << "the call returned";
      } catch (const TTransportException& failure) {
         EXPECT_EQ(failure.getType(), TTransportException::UNKNOWN);
         EXPECT_STREQ(failure.what(), "TPipe: write failed");
      }
   }
   EXPECT_TRUE(session->transport->isOpen());
}

TEST(LocalSession, MissingServiceFailsToOpenAndLeavesNothingOpen)
{
   const size_t before = peers::openDescriptors();
   EXPECT_EQ(failureOfOpening(peers::unusedPipeName(), ""), std::pair(1, "Unable to open pipe"s));
   EXPECT_EQ(peers::openDescriptors(), before);
}

TEST(LocalSession, NothingReachesStandardError)
{
   testing::internal::CaptureStderr();
   failureOfOpening(peers::unusedPipeName(), "");
   EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(LocalSession, LayersAreBuiltOnOneAnother)
{
   peers::LocalListener service;
   const auto session = zerova::openClientSession(service.name(), "");
   const auto framed =
      std::dynamic_pointer_cast<apache::thrift::transport::TFramedTransport>(session->framed);
   ASSERT_TRUE(framed);
   EXPECT_EQ(framed->getUnderlyingTransport(), session->transport);
   EXPECT_EQ(session->protocol->getTransport(), session->framed);
   EXPECT_EQ(session->client.getInputProtocol(), session->protocol);
   EXPECT_EQ(session->client.getOutputProtocol(), session->protocol);
}

TEST(LocalSession, LimitsAreTheDefaults)
{
   peers::LocalListener service;
   const auto session = zerova::openClientSession(service.name(), "");
   for (const auto& transport : {session->transport, session->framed}) {
      EXPECT_EQ(transport->getConfiguration()->getMaxMessageSize(), 104857600);
      EXPECT_EQ(transport->getConfiguration()->getMaxFrameSize(), 16384000);
   }
   EXPECT_EQ(session->protocol->getRecursionLimit(), 64u);
}

TEST(LocalSession, FreshSessionHoldsAtMost16KiB)
{
   peers::LocalListener service;
   zerova::openClientSession(service.name(), "").reset(); // what is made once for the process
   const size_t before = countedHeap::heldBytes();
   const auto session = zerova::openClientSession(service.name(), "");
   const size_t held = countedHeap::heldBytes() - before;
   EXPECT_GT(held, sizeof(zerova::ClientSession));
   EXPECT_LE(held, 16u * 1024);
}

TEST(RemoteSession, GoesToThePortThatTheLocatorNames)
{
   const peers::TcpListener locator(kLocatorPort);
   const peers::TcpListener service = peers::TcpListener::beside(locator);
   const std::string answer = "Port=" + std::to_string(service.port()) + "\r\n";
   std::future<std::string> request =
      std::async(std::launch::async, [&] { return serveLookUp(locator, answer); });

   const auto session = zerova::openClientSession("Trevanta/Zerova", locator.host());
   EXPECT_EQ(request.get(), "GET Trevanta%2FZerova HTTP/1.0\r\n\r\n");
   Descriptor client = service.accept();
   peers::sendAll(client, voidReply("version"));
   session->client.version("1.0");
   const std::string sent =
      frame(header(call, "version") + field(string, 1) + text("1.0") + byte(stop));
   EXPECT_EQ(peers::receive(client, sent.size()), sent);
}

TEST(RemoteSession, LocatorThatKnowsNoPortGivesPort0WhichIsNotConnected)
{
   const peers::TcpListener locator(kLocatorPort);
   std::future<std::string> request =
      std::async(std::launch::async, [&] { return serveLookUp(locator, "HTTP/1.0 404\r\n"); });
   EXPECT_EQ(failureOfOpening("", locator.host()),
             std::pair(1, "connect() failed: Connection refused"s));
   EXPECT_NE(request.get(), "");
}

TEST(RemoteSession, HostWithoutLocatorFailsAtTheConnection)
{
   const peers::TcpListener elsewhere; // for an address with nothing at the locator's port
   EXPECT_EQ(failureOfOpening("", elsewhere.host()),
             std::pair(1, "connect() failed: Connection refused"s));
}

TEST(RemoteSession, HostWithAPortIsTakenForANameAsAWhole)
{
   const peers::TcpListener locator(kLocatorPort);
   EXPECT_EQ(failureOfOpening("", locator.host() + ":4711"),
             std::pair(1, "Could not resolve host for client socket."s));
   EXPECT_TRUE(locator.nobodyWaits());
}

TEST(RemoteSession, LookUpLeavesNothingOpen)
{
   const peers::TcpListener elsewhere;
   const size_t before = peers::openDescriptors();
   failureOfOpening("", elsewhere.host());
   EXPECT_EQ(peers::openDescriptors(), before);
}

// A session over TCP and the descriptor of its service's end.
struct RemotePair
{
   RemotePair()
      : locator(kLocatorPort)
      , service(peers::TcpListener::beside(locator))
   {
      const std::string answer = "Port=" + std::to_string(service.port()) + "\n";
      const auto served = std::async(std::launch::async, [&] { serveLookUp(locator, answer); });
      session = zerova::openClientSession("", locator.host());
      client = service.accept();
   }

   peers::TcpListener locator;
   peers::TcpListener service;
   std::unique_ptr<zerova::ClientSession> session;
   Descriptor client;
};

TEST(RemoteSession, ServiceThatClosesDuringACallEndsTheData)
{
   RemotePair pair;
   const auto closed = std::async(std::launch::async, [&] {
      peers::receive(pair.client, 24);
      pair.client.close();
   });
   try {
      pair.session->client.isDebug();
      FAIL() << "the call returned";
   } catch (const TTransportException& failure) {
      EXPECT_EQ(failure.getType(), TTransportException::END_OF_FILE);
      EXPECT_STREQ(failure.what(), "No more data to read.");
   }
}

TEST(RemoteSession, ResetConnectionEndsTheDataOrFailsTheWrite)
{
   RemotePair pair;
   peers::reset(pair.client);
   EXPECT_THROW(pair.session->client.isDebug(), TTransportException);
}

TEST(RemoteSession, SettingsOfTheSocketAreTheDefaults)
{
   const RemotePair pair;
   const auto socket =
      std::dynamic_pointer_cast<apache::thrift::transport::TSocket>(pair.session->transport);
   ASSERT_TRUE(socket);
   int noDelay = 0;
   socklen_t size = sizeof(noDelay);
   getsockopt(socket->getSocketFD(), IPPROTO_TCP, TCP_NODELAY, &noDelay, &size);
   EXPECT_NE(noDelay, 0);
   linger onClose{};
   size = sizeof(onClose);
   getsockopt(socket->getSocketFD(), SOL_SOCKET, SO_LINGER, &onClose, &size);
   EXPECT_NE(onClose.l_onoff, 0);
   EXPECT_EQ(onClose.l_linger, 0);
}

} // namespace
