#include "transport/client_session.h"

#include "service/locator_peer.h"
#include "service/wire_bytes.h"
#include "unit/transport/counted_heap.h"
#include "unit/transport/descriptors.h"
#include "unit/transport/local_pipe_facts.h"
#include "unit/transport/local_service.h"
#include "unit/transport/system_faults.h"

#include <chrono>

#include <gmock/gmock.h>
#include <thrift/Thrift.h>
#include <thrift/transport/TBufferTransports.h>
#include <thrift/transport/TSocket.h>

namespace {

using apache::thrift::transport::TFramedTransport;
using apache::thrift::transport::TSocket;
using apache::thrift::transport::TTransportException;
using testing::AnyOfArray;
using testing::StartsWith;
using std::string_literals::operator""s;
using zerova::openClientSession;
using zerova::test::Listener;
using zerova::test::LocatorPeer;
using zerova::test::LoopbackAddress;
using zerova::test::RawPeer;
using zerova::test::RemotePeer;
using zerova::test::Script;
using zerova::test::WireBytes;
namespace wire = zerova::test::wire;

using Failure = std::pair<int, std::string>;

template <typename Action>
Failure failureOf(Action action)
{
   try {
      action();
   } catch (const TTransportException& failure) {
      return {failure.getType(), failure.what()};
   }
   return {-1, "nothing was thrown"};
}

// A service that plays a script at a local endpoint of its own.
struct LocalPeer
{
   explicit LocalPeer(Script script)
      : name(unusedPipeName())
      , peer(Listener::local(name), std::move(script))
   {
   }

   const std::string name;
   RawPeer peer;
};

// The system's own text follows.
template <typename Action>
void expectNotConnected(Action action)
{
   const Failure failure = failureOf(action);
   EXPECT_EQ(failure.first, TTransportException::NOT_OPEN);
   EXPECT_THAT(failure.second, StartsWith("connect() failed: "));
}

Script answering(const std::string& reply)
{
   return Script().receive().send(reply).hold();
}

TEST(LocalSession, CallGoesOutAsOneFrameAndItsReplyComesBack)
{
   LocalPeer service(answering(zerova::test::boolReply("isDebug", true)));
   const auto session = openClientSession(service.name, "");
   EXPECT_TRUE(session->client.isDebug());
   EXPECT_EQ(service.peer.frames(),
             std::vector{"\0\0\0\x14\x80\x01\0\x01\0\0\0\x07isDebug\0\0\0\0\0"s});
}

TEST(LocalSession, EndOfASessionIsTheEndOfItsConnectionAndSendsNothing)
{
   LocalPeer service(Script().hold());
   const size_t before = descriptors::countOpen();
   openClientSession(service.name, "").reset();
   ASSERT_TRUE(service.peer.waitUntilFinished(0));
   EXPECT_EQ(service.peer.record(0).rest, "");
   EXPECT_EQ(service.peer.record(0).end, zerova::test::StreamEnd::kClosed);
   EXPECT_EQ(descriptors::countOpen(), before);
}

TEST(LocalSession, ServiceThatClosesDuringACallFailsTheTransfer)
{
   LocalPeer service(Script().receive().close());
   const auto session = openClientSession(service.name, "");
   const Failure failure = failureOf([&] { session->client.isDebug(); });
   EXPECT_EQ(failure.first, TTransportException::UNKNOWN);
   EXPECT_THAT(failure.second, AnyOfArray(kTextsOfABrokenRead));
}

TEST(LocalSession, ServiceThatHasGoneFailsEachFurtherCallAndLeavesTheSession)
{
   LocalPeer service(Script().close());
   const auto session = openClientSession(service.name, "");
   ASSERT_TRUE(service.peer.waitUntilFinished(0));
   for (int call = 0; call < 2; ++call)
      EXPECT_EQ(failureOf([&] { session->client.isDebug(); }),
                Failure(TTransportException::UNKNOWN, "TPipe: write failed"));
   EXPECT_TRUE(session->transport->isOpen());
}

TEST(LocalSession, MissingServiceFailsToOpenAndLeavesNothingOpen)
{
   const size_t before = descriptors::countOpen();
   EXPECT_EQ(failureOf([] { openClientSession(unusedPipeName(), ""); }),
             Failure(TTransportException::NOT_OPEN, "Unable to open pipe"));
   EXPECT_EQ(descriptors::countOpen(), before);
}

TEST(LocalSession, LayersStandOnOneAnother)
{
   const LocalPeer service(Script().hold());
   const auto session = openClientSession(service.name, "");
   const auto framed = std::dynamic_pointer_cast<TFramedTransport>(session->framed);
   ASSERT_TRUE(framed);
   EXPECT_EQ(framed->getUnderlyingTransport(), session->transport);
   EXPECT_EQ(session->protocol->getTransport(), session->framed);
   EXPECT_EQ(session->client.getInputProtocol(), session->protocol);
   EXPECT_EQ(session->client.getOutputProtocol(), session->protocol);
}

TEST(LocalSession, LimitsAreTheDefaults)
{
   const LocalPeer service(Script().hold());
   const auto session = openClientSession(service.name, "");
   for (const auto& transport : {session->transport, session->framed}) {
      EXPECT_EQ(transport->getConfiguration()->getMaxMessageSize(), 104857600);
      EXPECT_EQ(transport->getConfiguration()->getMaxFrameSize(), 16384000);
   }
   EXPECT_EQ(session->protocol->getRecursionLimit(), 64u);
}

TEST(LocalSession, FreshSessionHoldsAtMost16KiB)
{
   LocalService service;                          // has no thread whose memory would be counted
   openClientSession(service.name(), "").reset(); // what is made once for the process
   service.accept();
   const size_t before = countedHeap::heldBytes();
   const auto session = openClientSession(service.name(), "");
   const size_t held = countedHeap::heldBytes() - before;
   EXPECT_GT(held, sizeof(zerova::ClientSession));
   EXPECT_LE(held, 16u * 1024);
   RecordProperty("heldBytes", static_cast<int>(held));
}

TEST(LocalSession, FirstFailureAlreadyReachesNoOutput)
{
   testing::internal::CaptureStderr();
   failureOf([] { openClientSession(unusedPipeName(), ""); });
   apache::thrift::GlobalOutput("to whom it may concern");
   EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

std::string hostHasHeard;

TEST(LocalSession, OutputThatTheHostSetsLaterIsTheHosts)
{
   failureOf([] { openClientSession(unusedPipeName(), ""); });
   apache::thrift::GlobalOutput.setOutputFunction([](const char* text) { hostHasHeard = text; });
   failureOf([] { openClientSession(unusedPipeName(), ""); });
   apache::thrift::GlobalOutput("heard");
   apache::thrift::GlobalOutput.setOutputFunction([](const char*) {});
   EXPECT_EQ(hostHasHeard, "heard");
}

TEST(RemoteSession, GoesToThePortThatTheLocatorNames)
{
   RemotePeer remote(Script().acceptVersion().hold());
   const auto session = openClientSession("Trevanta/Zerova", remote.host());
   session->client.version("1.0");
   EXPECT_EQ(remote.locator().requests(), std::vector{"GET Trevanta%2FZerova HTTP/1.0\r\n\r\n"s});
   EXPECT_EQ(
      remote.service().frames(),
      std::vector{WireBytes().message(wire::kCall, "version").textField(1, "1.0").stop().frame()});
}

// What a peer has sent is there soon, and nobody tells when.
bool comesWithin(zerova::AnswerWatch& watch, std::chrono::seconds limit)
{
   const auto end = std::chrono::steady_clock::now() + limit;
   while (std::chrono::steady_clock::now() < end) {
      if (watch.hasCome()) return true;
      watch.yield();
   }
   return false;
}

void expectWatchTellsOfTheAnswer(zerova::ClientSession& session)
{
   const auto watch = zerova::watchOf(*session.transport);
   EXPECT_FALSE(watch->hasCome());
   session.client.send_isDebug();
   EXPECT_TRUE(comesWithin(*watch, std::chrono::seconds(60)));
   EXPECT_TRUE(session.client.recv_isDebug());
   EXPECT_FALSE(watch->hasCome());
}

TEST(AnswerWatch, OfALocalSessionTellsWhenAnAnswerHasCome)
{
   LocalPeer service(answering(zerova::test::boolReply("isDebug", true)));
   expectWatchTellsOfTheAnswer(*openClientSession(service.name, ""));
}

TEST(AnswerWatch, OfARemoteSessionTellsWhenAnAnswerHasCome)
{
   RemotePeer remote(answering(zerova::test::boolReply("isDebug", true)));
   expectWatchTellsOfTheAnswer(*openClientSession("", remote.host()));
}

TEST(AnswerWatch, OfASessionThatIsClosedLeavesTheRestToTheRead)
{
   LocalPeer service(Script().hold());
   const auto session = openClientSession(service.name, "");
   const auto watch = zerova::watchOf(*session->transport);
   session->transport->close();
   EXPECT_TRUE(watch->hasCome());
}

TEST(AnswerWatch, ThereIsNoneOfATransportThatCannotBeAsked)
{
   EXPECT_EQ(zerova::watchOf(apache::thrift::transport::TMemoryBuffer()), nullptr);
}

TEST(RemoteSession, LocatorThatKnowsNoPortGivesPort0WhichIsNotConnected)
{
   const LoopbackAddress host;
   LocatorPeer locator(host.text(), "HTTP/1.0 404 Not Found\r\n\r\n");
   expectNotConnected([&] { openClientSession("", host.text()); });
   EXPECT_EQ(locator.requests().size(), 1u);
}

TEST(RemoteSession, HostWithoutALocatorFailsAtTheConnection)
{
   const LoopbackAddress host;
   expectNotConnected([&] { openClientSession("", host.text()); });
}

TEST(RemoteSession, SocketCallsThatDoNotStartGivePort0)
{
   const LoopbackAddress host;
   LocatorPeer locator(host.text(), "Port=1\r\n");
   const faults::Refused none(faults::Wish::kSocket);
   expectNotConnected([&] { openClientSession("", host.text()); });
   EXPECT_TRUE(locator.requests().empty());
}

TEST(RemoteSession, HostWithAPortIsTakenForANameAsAWhole)
{
   const LoopbackAddress host;
   LocatorPeer locator(host.text(), "Port=1\r\n");
   EXPECT_EQ(failureOf([&] { openClientSession("", host.text() + ":4711"); }),
             Failure(TTransportException::NOT_OPEN, "Could not resolve host for client socket."));
   EXPECT_TRUE(locator.requests().empty());
}

TEST(RemoteSession, ServiceThatClosesDuringACallEndsTheData)
{
   RemotePeer remote(Script().receive().close());
   const auto session = openClientSession("", remote.host());
   EXPECT_EQ(failureOf([&] { session->client.isDebug(); }),
             Failure(TTransportException::END_OF_FILE, "No more data to read."));
}

TEST(RemoteSession, ServiceThatHasGoneEndsTheDataOrFailsTheWrite)
{
   RemotePeer remote(Script().close());
   const auto session = openClientSession("", remote.host());
   ASSERT_TRUE(remote.service().waitUntilFinished(0));
   EXPECT_THROW(session->client.isDebug(), TTransportException);
   EXPECT_THROW(session->client.isDebug(), TTransportException);
}

TEST(RemoteSession, ResetConnectionIsAFailureOfTheTransport)
{
   RemotePeer remote(Script().receive().reset());
   const auto session = openClientSession("", remote.host());
   EXPECT_THROW(session->client.isDebug(), TTransportException);
}

TEST(RemoteSession, EndLeavesNothingOpen)
{
   RemotePeer remote(Script().hold());
   openClientSession("", remote.host()).reset();
   ASSERT_TRUE(remote.service().waitUntilFinished(0));
   ASSERT_TRUE(remote.locator().peer().waitUntilFinished(0));
   EXPECT_FALSE(zerova::test::StreamEnd::kOpen == remote.service().record(0).end);
}

TEST(RemoteSession, SocketIsNotInherited)
{
   RemotePeer remote(Script().hold());
   const auto session = openClientSession("", remote.host());
   const auto socket = std::dynamic_pointer_cast<TSocket>(session->transport);
   ASSERT_TRUE(socket);
   EXPECT_TRUE(descriptors::isKeptFromChildren(static_cast<intptr_t>(socket->getSocketFD())));
}

// Another thread may begin a program at any time.
TEST(RemoteSession, SocketsAreNotInheritedWhileTheyConnectEither)
{
   RemotePeer remote(Script().hold());
   const faults::WatchedConnects connects;
   const auto session = openClientSession("", remote.host());
   EXPECT_EQ(connects.keptFromChildren(), (std::vector<bool>{true, true})) << "locator, service";
}

TEST(RemoteSession, SettingsOfTheSocketAreTheDefaults)
{
   RemotePeer remote(Script().hold());
   const auto session = openClientSession("", remote.host());
   const auto socket = std::dynamic_pointer_cast<TSocket>(session->transport);
   ASSERT_TRUE(socket);
   const auto descriptor = static_cast<intptr_t>(socket->getSocketFD());
   EXPECT_TRUE(descriptors::hasNoDelay(descriptor));
   EXPECT_EQ(descriptors::lingerSeconds(descriptor), 0);
}

} // namespace
