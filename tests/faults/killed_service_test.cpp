// The service's process is killed, between calls and in the middle of one.
#include "exports/peer_session.h"
#include "exports/service_calls.h"
#include "faults/blocked_thread.h"
#include "faults/child_service.h"
#include "faults/endpoint.h"
#include "service/checked_status.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <future>
#include <string>
#include <thread>

namespace {

using namespace zerova::test;
using testing::HasSubstr;

class KilledService : public testing::TestWithParam<Endpoint>
{
protected:
   zerovaapi_Session connect(quelerr_Status* status) const
   {
      return createSession(GetParam(), host.text(), status);
   }

   LoopbackAddress host;
};

INSTANTIATE_TEST_SUITE_P(All, KilledService, testing::Values(Endpoint::local, Endpoint::tcp),
                         [](const auto& each) { return nameOf(each.param); });

// Runs action on a thread of its own, which is waiting in the kernel when this returns.
template <typename Action>
std::thread blockedThread(Action action)
{
   std::promise<ThreadNumber> number;
   std::thread thread([&number, action] {
      number.set_value(ownThreadNumber());
      action();
   });
   EXPECT_TRUE(waitUntilBlocked(number.get_future().get()));
   return thread;
}

TEST_P(KilledService, BetweenCallsIsACommunicationsFaultAndItsSuccessorIsFound)
{
   ChildService service(ChildScript::resting, host.text());
   service.start();
   CheckedStatus status;
   const zerovaapi_Session session = connect(status);
   ASSERT_NE(session, nullptr) << status.json();
   EXPECT_EQ(zerovaapi_getSystemChangeNumber(session, status), 7);
   EXPECT_TRUE(service.waitForCall());
   service.kill();
   for (const ServiceCall& call : serviceCalls()) {
      SCOPED_TRACE(call.method);
      CheckedStatus failed;
      EXPECT_EQ(call.call(session, failed), call.failure);
      EXPECT_EQ(failed.code(), -52024);
      EXPECT_THAT(failed.json(), HasSubstr(R"("Thrift::TTransportException":")"));
   }
   zerovaapi_destroySession(session);

   ChildService successor(ChildScript::answering, host.text());
   successor.start();
   const zerovaapi_Session next = connect(status);
   ASSERT_NE(next, nullptr) << status.json();
   EXPECT_EQ(zerovaapi_getSystemChangeNumber(next, status), 7);
   EXPECT_EQ(status.growCalls(), 0);
   zerovaapi_destroySession(next);
}

TEST_P(KilledService, DuringACallIsACommunicationsFault)
{
   for (const ServiceCall& call : serviceCalls()) {
      SCOPED_TRACE(call.method);
      ChildService service(ChildScript::silent, host.text());
      service.start();
      CheckedStatus status;
      const zerovaapi_Session session = connect(status);
      ASSERT_NE(session, nullptr) << status.json();
      std::string told;
      std::thread client = blockedThread([&] { told = call.call(session, status); });
      EXPECT_TRUE(service.waitForCall());
      service.kill();
      client.join();
      EXPECT_EQ(told, call.failure);
      EXPECT_EQ(status.code(), -52024);
      EXPECT_THAT(status.json(), HasSubstr(R"("Thrift::TTransportException":")"));
      zerovaapi_destroySession(session);
   }
}

TEST_P(KilledService, WhileASessionBeginsIsAnAttemptThatIsMadeAgain)
{
   ChildService service(ChildScript::answering, host.text());
   service.start();
   ChildService successor(ChildScript::answering, host.text());
   service.freeze();
   CheckedStatus status;
   zerovaapi_Session session = nullptr;
   std::thread client = blockedThread([&] { session = connect(status); });
   service.kill();
   successor.start();
   client.join();
   ASSERT_NE(session, nullptr) << status.json();
   EXPECT_EQ(zerovaapi_getSystemChangeNumber(session, status), 7);
   EXPECT_EQ(status.growCalls(), 0);
   zerovaapi_destroySession(session);
}

} // namespace
