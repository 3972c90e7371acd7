// Sessions over TCP: what an attempt sends, which outcomes are tried again, what reaches the
// caller.
#include "exports/peer_session.h"
#include "service/checked_status.h"
#include "service/wire_bytes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace zerova::test;
using std::chrono::milliseconds;
using std::chrono::steady_clock;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

constexpr const char* kNotAvailableLead =
   R"({"error_constant":"zerova::errors::kErrorZerovaServiceNotAvailable",)"
   R"("file":"source\\zerovaapi\\api","line":)";
constexpr milliseconds kLimit(5000);

zerovaapi_Session connect(const RemotePeer& peer, quelerr_Status* status)
{
   return zerovaapi_createRemoteSession(peer.host().c_str(), status);
}

Script answeringOnce(std::string reply)
{
   return Script().answer([reply](const std::string&) { return reply; }).hold();
}

TEST(RemoteSession, AsksTheLocatorAndThenForTheVersion)
{
   RemotePeer peer(answeringPlainly());
   CheckedStatus status;
   const zerovaapi_Session session = connect(peer, status);
   ASSERT_NE(session, nullptr);
   EXPECT_EQ(status.code(), 0);
   EXPECT_EQ(status.growCalls(), 0);
   EXPECT_THAT(peer.locator().requests(), ElementsAre("GET Trevanta%2FZerova HTTP/1.0\r\n\r\n"));
   EXPECT_THAT(
      peer.service().frames(),
      ElementsAre(WireBytes().message(wire::kCall, "version").textField(1, "1.0").stop().frame()));
   zerovaapi_destroySession(session);
}

TEST(RemoteSession, DestroyingItClosesTheConnectionAndSendsNothing)
{
   RemotePeer peer(answeringPlainly());
   CheckedStatus status;
   zerovaapi_destroySession(connect(peer, status));
   ASSERT_TRUE(peer.service().waitUntilFinished(0));
   const PeerRecord record = peer.service().record(0);
   EXPECT_NE(record.end, StreamEnd::kOpen);
   EXPECT_EQ(record.frames.size(), 1u);
   EXPECT_EQ(record.rest, "");
}

TEST(RemoteSession, WithAnErrorInTheStatusNothingIsConnected)
{
   RemotePeer peer(answeringPlainly());
   CheckedStatus failed(-5, R"({"error":"first"})");
   EXPECT_EQ(connect(peer, failed), nullptr);
   EXPECT_EQ(failed.json(), R"({"error":"first"})");
   EXPECT_EQ(peer.locator().peer().connectionCount(), 0u);
}

TEST(RemoteSession, WarningSurvivesSuccess)
{
   RemotePeer peer(answeringPlainly());
   CheckedStatus status(5, R"({"warning":1})");
   const zerovaapi_Session session = connect(peer, status);
   EXPECT_NE(session, nullptr);
   EXPECT_EQ(status.code(), 5);
   EXPECT_EQ(status.json(), R"({"warning":1})");
   zerovaapi_destroySession(session);
}

TEST(RemoteSession, ServiceThatRefusesTheVersionIsBelievedAtOnce)
{
   RemotePeer peer(answeringOnce(statusReply("version", -77, R"({"why":"too old"})")));
   CheckedStatus status(5, R"({"warning":1})");
   const auto start = steady_clock::now();
   EXPECT_EQ(connect(peer, status), nullptr);
   EXPECT_LT(steady_clock::now() - start, kLimit);
   EXPECT_EQ(status.code(), -77);
   EXPECT_EQ(status.json(), R"({"why":"too old"})");
   EXPECT_EQ(peer.service().connectionCount(), 1u);
}

TEST(RemoteSession, RefusedBufferLosesTheTextOfARefusalButNeverItsCode)
{
   RemotePeer peer(answeringOnce(statusReply("version", -77, R"({"why":"too old"})")));
   CheckedStatus status;
   status.refuseFrom(1);
   EXPECT_EQ(connect(peer, status), nullptr);
   EXPECT_EQ(status.code(), -77);
   EXPECT_FALSE(status.hasText());
}

TEST(RemoteSession, RefusalWithAPositiveCodeIsAWarningAndStillNoSession)
{
   RemotePeer peer(answeringOnce(statusReply("version", 77, R"({"why":"soon"})")));
   CheckedStatus status;
   EXPECT_EQ(connect(peer, status), nullptr);
   EXPECT_EQ(status.code(), 77);
   EXPECT_EQ(status.json(), R"({"why":"soon"})");
   EXPECT_EQ(peer.service().connectionCount(), 1u);
}

TEST(RemoteSession, RefusalWithCodeZeroIsNoSessionAndACleanStatus)
{
   RemotePeer peer(answeringOnce(statusReply("version", 0, R"({"why":"unsaid"})")));
   CheckedStatus status;
   EXPECT_EQ(connect(peer, status), nullptr);
   EXPECT_EQ(status.code(), 0);
   EXPECT_FALSE(status.hasText());
   EXPECT_EQ(peer.service().connectionCount(), 1u);
}

TEST(RemoteSession, FailedVersionCallLeavesNoConnection)
{
   RemotePeer peer(answeringOnce(statusReply("version", -77, "{}")));
   CheckedStatus status;
   EXPECT_EQ(connect(peer, status), nullptr);
   ASSERT_TRUE(peer.service().waitUntilFinished(0));
   EXPECT_NE(peer.service().record(0).end, StreamEnd::kOpen);
}

TEST(RemoteSession, RefusalWithTheCodeOfAMissingServiceIsTriedAgain)
{
   RemotePeer peer(
      {answeringOnce(statusReply("version", -89168, R"({"why":"starting"})")), answeringPlainly()});
   CheckedStatus status;
   const zerovaapi_Session session = connect(peer, status);
   EXPECT_NE(session, nullptr);
   EXPECT_EQ(status.code(), 0);
   EXPECT_EQ(status.growCalls(), 0);
   EXPECT_EQ(peer.service().connectionCount(), 2u);
   EXPECT_EQ(peer.locator().requests().size(), 2u); // the port is looked up for each attempt
   zerovaapi_destroySession(session);
}

TEST(RemoteSession, ExceptionInReplyToTheVersionIsTriedAgain)
{
   RemotePeer peer({answeringOnce(exceptionReply("version", 1, "")), answeringPlainly()});
   CheckedStatus status;
   const zerovaapi_Session session = connect(peer, status);
   EXPECT_NE(session, nullptr);
   EXPECT_EQ(status.growCalls(), 0);
   zerovaapi_destroySession(session);
}

// Each session meets one such reply, as a session's attempts have five seconds together.
TEST(RemoteSession, ReplyToTheVersionThatIsCutAnywhereIsTriedAgain)
{
   const std::string whole = plainReply("version");
   for (std::size_t length = 0; length < whole.size(); ++length) {
      SCOPED_TRACE(length);
      RemotePeer peer({Script().receive().send(whole, length).close(), answeringPlainly()});
      CheckedStatus status;
      const zerovaapi_Session session = connect(peer, status);
      EXPECT_NE(session, nullptr) << status.json();
      EXPECT_EQ(status.code(), 0);
      EXPECT_EQ(peer.service().connectionCount(), 2u);
      zerovaapi_destroySession(session);
   }
}

TEST(RemoteSession, StrayReplyToTheVersionIsSkipped)
{
   RemotePeer peer(answeringOnce(voidReply("another") + plainReply("version")));
   CheckedStatus status;
   const zerovaapi_Session session = connect(peer, status);
   EXPECT_NE(session, nullptr);
   EXPECT_EQ(peer.service().connectionCount(), 1u);
   zerovaapi_destroySession(session);
}

// A host on which nothing listens: no locator, so port 0, to which no one can connect.
TEST(RemoteSession, HostWithoutALocatorIsNotAvailableAfterFiveSecondsAndNothingIsPrinted)
{
   const LoopbackAddress nobody;
   CheckedStatus status(5, R"({"warning":1})");
   testing::internal::CaptureStderr();
   const auto start = steady_clock::now();
   const zerovaapi_Session session = zerovaapi_createRemoteSession(nobody.text().c_str(), status);
   const auto passed = steady_clock::now() - start;
   EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
   EXPECT_EQ(session, nullptr);
   EXPECT_GE(passed, kLimit);
   EXPECT_LT(passed, 4 * kLimit);
   EXPECT_EQ(status.code(), -89168);
   EXPECT_THAT(status.json(), StartsWith(kNotAvailableLead));
   EXPECT_THAT(status.json(), HasSubstr(R"("component":"zerovaapi","Thrift::)"
                                        R"(TTransportException":"connect() failed: )"));
}

TEST(RemoteSession, HostThatDoesNotResolveIsNotAvailable)
{
   CheckedStatus status;
   EXPECT_EQ(zerovaapi_createRemoteSession("no host has a name with blanks", status), nullptr);
   EXPECT_EQ(status.code(), -89168);
   EXPECT_THAT(status.json(), EndsWith(R"("Thrift::TTransportException":)"
                                       R"("Could not resolve host for client socket."})"));
}

// The last attempt's exception names its class; this one never gets that far as a transport.
TEST(RemoteSession, ReplyThatIsNoMessageIsNotAvailableWithTheClassOfItsException)
{
   RemotePeer peer(
      answeringOnce(WireBytes().i32(static_cast<int32_t>(0x80020002u)).text("version").frame()));
   CheckedStatus status;
   EXPECT_EQ(connect(peer, status), nullptr);
   EXPECT_EQ(status.code(), -89168);
   EXPECT_THAT(status.json(), StartsWith(kNotAvailableLead));
   EXPECT_THAT(status.json(),
               EndsWith(R"("Thrift::TProtocolException":"Bad version identifier"})"));
   EXPECT_GE(peer.service().connectionCount(), 2u);
   EXPECT_LE(peer.service().connectionCount(), 103u);
}

TEST(RemoteSession, ManyThreadsMayCreateSessionsAtOnce)
{
   RemotePeer peer(answeringPlainly());
   std::vector<std::thread> threads;
   std::vector<int> answers(8, 0);
   for (int& answer : answers)
      threads.emplace_back([&peer, &answer] {
         quelerr_Status status;
         quelerr_heapStatus_init(&status);
         const zerovaapi_Session session = connect(peer, &status);
         if (session) answer = zerovaapi_getSystemChangeNumber(session, &status);
         zerovaapi_destroySession(session);
         quelerr_heapStatus_release(&status);
      });
   for (std::thread& thread : threads)
      thread.join();
   EXPECT_THAT(answers, testing::Each(7));
}

} // namespace
