// Sessions on the service's local endpoints.
#include "exports/peer_session.h"
#include "service/checked_status.h"
#include "service/wire_bytes.h"
#include "support/matches_pattern.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>
#include <thread>

namespace {

using namespace zerova::test;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr milliseconds kLimit(5000);

// Where a pipe has ended before its reading starts, that fails in place of what it would have given.
constexpr const char* kBrokenRead =
   R"("Thrift::TTransportException":"(getOverlappedResultWithTimeout|TPipe: read) failed"\}$)";

TEST(LocalSession, UsesThePlainEndpoint)
{
   RawPeer plain(Listener::local("com.zerova"), answeringPlainly());
   RawPeer immediate(Listener::local("com.zerova.immediate"), answeringPlainly());
   CheckedStatus status;
   const zerovaapi_Session session = zerovaapi_createSession(status);
   ASSERT_NE(session, nullptr) << status.json();
   EXPECT_EQ(zerovaapi_getSystemChangeNumber(session, status), 7);
   zerovaapi_destroySession(session);
   ASSERT_TRUE(plain.waitUntilFinished(0));
   EXPECT_EQ(plain.record(0).frames.at(0),
             WireBytes().message(wire::kCall, "version").textField(1, "1.0").stop().frame());
   EXPECT_EQ(plain.record(0).end, StreamEnd::kClosed);
   EXPECT_EQ(immediate.connectionCount(), 0u);
   EXPECT_EQ(status.growCalls(), 0);
}

TEST(LocalSession, ForImmediateRoutesUsesTheOtherEndpoint)
{
   RawPeer plain(Listener::local("com.zerova"), answeringPlainly());
   RawPeer immediate(Listener::local("com.zerova.immediate"), answeringPlainly());
   CheckedStatus status;
   const zerovaapi_Session session = zerovaapi_createImmediateSession(status);
   ASSERT_NE(session, nullptr) << status.json();
   EXPECT_EQ(zerovaapi_getSystemChangeNumber(session, status), 7);
   zerovaapi_destroySession(session);
   EXPECT_EQ(immediate.connectionCount(), 1u);
   EXPECT_EQ(plain.connectionCount(), 0u);
}

TEST(LocalSession, RemoteSessionWithAnEmptyHostTakesTheEndpointOfTheServicePath)
{
   RawPeer plain(Listener::local("com.zerova"), answeringPlainly());
   RawPeer path(Listener::local("Zerova", std::string(ZEROVA_ENDPOINT_DIR) + "/Trevanta"),
                answeringPlainly());
   CheckedStatus status;
   const zerovaapi_Session session = zerovaapi_createRemoteSession("", status);
   ASSERT_NE(session, nullptr) << status.json();
   EXPECT_EQ(zerovaapi_getSystemChangeNumber(session, status), 7);
   zerovaapi_destroySession(session);
   EXPECT_EQ(path.connectionCount(), 1u);
   EXPECT_EQ(plain.connectionCount(), 0u);
}

TEST(LocalSession, WithAnErrorInTheStatusNothingIsConnected)
{
   RawPeer plain(Listener::local("com.zerova"), answeringPlainly());
   RawPeer immediate(Listener::local("com.zerova.immediate"), answeringPlainly());
   CheckedStatus failed(-5, R"({"error":"first"})");
   EXPECT_EQ(zerovaapi_createSession(failed), nullptr);
   EXPECT_EQ(zerovaapi_createImmediateSession(failed), nullptr);
   EXPECT_EQ(failed.json(), R"({"error":"first"})");
   CheckedStatus status;
   zerovaapi_destroySession(zerovaapi_createSession(status));
   EXPECT_EQ(plain.connectionCount(), 1u); // that of the last call
   EXPECT_EQ(immediate.connectionCount(), 0u);
}

TEST(LocalSession, ServiceThatComesUpLaterIsFoundAndTheStatusStaysClean)
{
   std::unique_ptr<RawPeer> service;
   std::thread later([&service] {
      std::this_thread::sleep_for(milliseconds(500));
      service = std::make_unique<RawPeer>(Listener::local("com.zerova"), answeringPlainly());
   });
   CheckedStatus status;
   const zerovaapi_Session session = zerovaapi_createSession(status);
   later.join();
   EXPECT_NE(session, nullptr) << status.json();
   EXPECT_EQ(status.code(), 0);
   EXPECT_EQ(status.growCalls(), 0);
   zerovaapi_destroySession(session);
}

TEST(LocalSession, ConnectionThatBreaksIsACommunicationsFaultForEveryFurtherCall)
{
   RawPeer service(Listener::local("com.zerova"), Script().acceptVersion().receive().close());
   CheckedStatus status;
   const zerovaapi_Session session = zerovaapi_createSession(status);
   ASSERT_NE(session, nullptr) << status.json();
   for (int i = 0; i < 3; ++i) {
      CheckedStatus failed;
      EXPECT_EQ(zerovaapi_getSystemChangeNumber(session, failed), 0);
      EXPECT_EQ(failed.code(), -52024);
      EXPECT_THAT(failed.json(), MatchesPattern(R"(.*,"Thrift::TTransportException":".+"\})"));
      if (i == 0) {
         EXPECT_THAT(failed.json(), ContainsPattern(kBrokenRead));
      }
   }
   zerovaapi_destroySession(session);
}

TEST(LocalSession, WithoutAServiceFailsAfterFiveSecondsAndPrintsNothing)
{
   CheckedStatus status;
   testing::internal::CaptureStderr();
   const auto start = steady_clock::now();
   const zerovaapi_Session session = zerovaapi_createSession(status);
   const auto passed = steady_clock::now() - start;
   EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
   EXPECT_EQ(session, nullptr);
   EXPECT_GE(passed, kLimit);
   EXPECT_LT(passed, 4 * kLimit);
   EXPECT_EQ(status.code(), -89168);
   EXPECT_THAT(
      status.json(),
      MatchesPattern(R"(\{"error_constant":"zerova::errors::kErrorZerovaServiceNotAvailable",)"
                     R"("file":"source\\\\zerovaapi\\\\api","line":[1-9][0-9]*,)"
                     R"("component":"zerovaapi","Thrift::TTransportException":)"
                     R"("Unable to open pipe"\})"));
}

// Every attempt is a connection here, so they can be counted: 5001 ms hold at most 102 of them.
TEST(LocalSession, AttemptsAreAboutFiftyMillisecondsApart)
{
   RawPeer service(Listener::local("com.zerova"), Script().receive().close());
   CheckedStatus status;
   EXPECT_EQ(zerovaapi_createSession(status), nullptr);
   EXPECT_EQ(status.code(), -89168);
   EXPECT_THAT(status.json(), ContainsPattern(kBrokenRead));
   EXPECT_LE(service.connectionCount(), 102u);
   EXPECT_GE(service.connectionCount(), 20u);
}

} // namespace
