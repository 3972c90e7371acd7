// How replies arrive: cut, in pieces, late, and with more behind them than was asked for.
#include "exports/peer_session.h"
#include "exports/service_calls.h"
#include "faults/blocked_thread.h"
#include "faults/endpoint.h"
#include "faults/endpoint_peer.h"
#include "service/checked_status.h"
#include "service/wire_bytes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace {

using namespace zerova::test;
using testing::HasSubstr;

class WireOfEveryCall : public testing::TestWithParam<std::tuple<Endpoint, ServiceCall>>
{
protected:
   const Endpoint endpoint = std::get<0>(GetParam());
   const ServiceCall& call = std::get<1>(GetParam());
   const std::string reply = plainReply(call.method);

   // Makes the call twice on a service that answers the first one by script.
   void expectTwoAnswers(Script script)
   {
      EndpointPeer peer(endpoint, {script.answerAll([](const std::string& frame) {
                           return plainReply(methodOf(frame));
                        })});
      CheckedStatus status;
      const zerovaapi_Session session = peer.connect(status);
      ASSERT_NE(session, nullptr) << status.json();
      for (int i = 0; i < 2; ++i) {
         EXPECT_EQ(call.call(session, status), call.success);
         EXPECT_EQ(status.code(), 0) << status.json();
      }
      zerovaapi_destroySession(session);
   }

   // Makes the call, and prepare() just before, on a service that breaks the connection by script.
   void expectBroken(Script script, const std::function<void()>& prepare)
   {
      const EndpointPeer peer(endpoint, {std::move(script)});
      CheckedStatus status;
      const zerovaapi_Session session = peer.connect(status);
      ASSERT_NE(session, nullptr) << status.json();
      prepare();
      EXPECT_EQ(call.call(session, status), call.failure);
      EXPECT_EQ(status.code(), -52024);
      EXPECT_THAT(status.json(), HasSubstr(R"("Thrift::TTransportException":")"));
      zerovaapi_destroySession(session);
   }
};

INSTANTIATE_TEST_SUITE_P(All, WireOfEveryCall,
                         testing::Combine(testing::Values(Endpoint::local, Endpoint::tcp),
                                          testing::ValuesIn(serviceCalls())),
                         [](const auto& each) {
                            return std::string(nameOf(std::get<0>(each.param))) + "_" +
                                   std::get<1>(each.param).method;
                         });

TEST_P(WireOfEveryCall, ReplyThatIsCutAnywhereIsACommunicationsFault)
{
   std::vector<Script> scripts;
   for (std::size_t length = 0; length < reply.size(); ++length)
      scripts.push_back(sendingOnce(reply, length));
   const EndpointPeer peer(endpoint, scripts);
   for (std::size_t length = 0; length < reply.size(); ++length) {
      SCOPED_TRACE(length);
      CheckedStatus status;
      const zerovaapi_Session session = peer.connect(status);
      ASSERT_NE(session, nullptr) << status.json();
      for (int i = 0; i < 3; ++i) { // a connection that has broken stays so
         status.clear();
         EXPECT_EQ(call.call(session, status), call.failure);
         EXPECT_EQ(status.code(), -52024);
         EXPECT_THAT(status.json(), HasSubstr(R"("Thrift::TTransportException":")"));
      }
      zerovaapi_destroySession(session);
   }
}

TEST_P(WireOfEveryCall, ConnectionThatIsResetIsACommunicationsFault)
{
   expectBroken(Script().acceptVersion().receive().reset(), [] {});
}

TEST_P(WireOfEveryCall, ConnectionThatEndsWithTheCallUnreadIsACommunicationsFault)
{
   const ThreadNumber client = ownThreadNumber();
   std::atomic<bool> wasBlocked = false;
   std::promise<void> begin;
   const std::future<void> begun = begin.get_future();
   const auto waitForCall = [&] {
      begun.wait_for(std::chrono::seconds(30)); // the session has been waiting, too
      wasBlocked = waitUntilBlocked(client);
   };
   expectBroken(Script().acceptVersion().call(waitForCall).close(), [&] { begin.set_value(); });
   EXPECT_TRUE(wasBlocked);
}

TEST_P(WireOfEveryCall, ReplyThatComesByteByByteIsTheReply)
{
   expectTwoAnswers(Script().acceptVersion().receive().trickle(reply));
}

TEST_P(WireOfEveryCall, ReplyIsWaitedFor)
{
   const ThreadNumber client = ownThreadNumber();
   std::atomic<bool> wasBlocked = false;
   const auto waitForClient = [client, &wasBlocked] { wasBlocked = waitUntilBlocked(client); };
   const std::string start = reply.substr(0, 2);
   const std::string middle = reply.substr(2, reply.size() - 3);
   const std::string end = reply.substr(reply.size() - 1);
   expectTwoAnswers(Script()
                       .acceptVersion()
                       .receive()
                       .call(waitForClient)
                       .send(start)
                       .call(waitForClient)
                       .send(middle)
                       .call(waitForClient)
                       .send(end));
   EXPECT_TRUE(wasBlocked);
}

TEST_P(WireOfEveryCall, StrayMessageBehindAReplyIsSkippedByTheNextCall)
{
   expectTwoAnswers(
      Script().acceptVersion().receive().send(reply + textListReply("another", {"a", "b"})));
}

TEST_P(WireOfEveryCall, StrayExceptionBehindAReplyIsWhatTheNextCallMeets)
{
   const std::string behind = exceptionReply("another", 6, "meant for nobody");
   const EndpointPeer peer(endpoint,
                           {Script().acceptVersion().receive().send(reply + behind).hold()});
   CheckedStatus status;
   const zerovaapi_Session session = peer.connect(status);
   ASSERT_NE(session, nullptr) << status.json();
   EXPECT_EQ(call.call(session, status), call.success);
   EXPECT_EQ(call.call(session, status), call.failure);
   EXPECT_EQ(status.code(), -52024);
   EXPECT_THAT(status.json(), HasSubstr("meant for nobody"));
   zerovaapi_destroySession(session);
}

class WireOfTheVersion : public testing::TestWithParam<Endpoint>
{
protected:
   const std::string reply = plainReply("version");
};

INSTANTIATE_TEST_SUITE_P(All, WireOfTheVersion, testing::Values(Endpoint::local, Endpoint::tcp),
                         [](const auto& each) { return nameOf(each.param); });

// Each session meets one such reply, as a session's attempts have five seconds together.
TEST_P(WireOfTheVersion, ReplyThatIsCutAnywhereIsAskedForAgain)
{
   for (std::size_t length = 0; length < reply.size(); ++length) {
      SCOPED_TRACE(length);
      EndpointPeer peer(GetParam(),
                        {Script().receive().send(reply, length).close(), answeringPlainly()});
      CheckedStatus status;
      const zerovaapi_Session session = peer.connect(status);
      EXPECT_NE(session, nullptr) << status.json();
      EXPECT_EQ(status.growCalls(), 0);
      EXPECT_EQ(peer.service().connectionCount(), 2u);
      zerovaapi_destroySession(session);
   }
}

TEST_P(WireOfTheVersion, ReplyMayComeLateAndByteByByteWithAStrayMessageBehindIt)
{
   const ThreadNumber client = ownThreadNumber();
   const EndpointPeer peer(GetParam(), {Script()
                                           .receive()
                                           .call([client] { waitUntilBlocked(client); })
                                           .trickle(reply)
                                           .send(voidReply("another"))
                                           .answerAll([](const std::string& frame) {
                                              return plainReply(methodOf(frame));
                                           })});
   CheckedStatus status;
   const zerovaapi_Session session = peer.connect(status);
   ASSERT_NE(session, nullptr) << status.json();
   EXPECT_EQ(zerovaapi_getSystemChangeNumber(session, status), 7);
   EXPECT_EQ(status.growCalls(), 0);
   zerovaapi_destroySession(session);
}

} // namespace
