// What a child that is a copy of its parent may do with the parent's session.
#include "faults/child_service.h"
#include "faults/endpoint.h"
#include "faults/fixed_status.h"
#include "faults/posix/forked_copy.h"
#include "service/loopback_address.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <stdexcept>
#include <string>

namespace {

using namespace zerova::test;

class ForkedCopy : public testing::TestWithParam<Endpoint>
{
protected:
   zerovaapi_Session connect() const
   {
      FixedStatus status;
      const zerovaapi_Session session = createSession(GetParam(), host.text(), status);
      if (!session) throw std::runtime_error(status.text());
      return session;
   }

   static bool answers(zerovaapi_Session session)
   {
      FixedStatus status;
      return zerovaapi_getSystemChangeNumber(session, status) == 7 && status.code() == 0;
   }

   const LoopbackAddress host;
   ChildService service{ChildScript::answering, host.text()};
};

INSTANTIATE_TEST_SUITE_P(All, ForkedCopy, testing::Values(Endpoint::local, Endpoint::tcp),
                         [](const auto& each) { return nameOf(each.param); });

TEST_P(ForkedCopy, MayDestroyTheSessionWithoutEndingThatOfItsParent)
{
   service.start();
   const zerovaapi_Session session = connect();
   EXPECT_TRUE(inACopyOfThisProcess([&] {
      zerovaapi_destroySession(session);
      return true;
   }));
   EXPECT_TRUE(answers(session));
   zerovaapi_destroySession(session);
}

TEST_P(ForkedCopy, MayLeaveTheSessionAloneAndOpenOneOfItsOwn)
{
   service.start();
   const zerovaapi_Session session = connect();
   EXPECT_TRUE(inACopyOfThisProcess([&] {
      const zerovaapi_Session own = connect();
      const bool answered = answers(own);
      zerovaapi_destroySession(own);
      return answered;
   }));
   EXPECT_TRUE(answers(session));
   zerovaapi_destroySession(session);
}

// The parent hands the session over: from then on it is the child's alone to call.
TEST_P(ForkedCopy, MayCallOnTheSessionWhileItsParentDoesNot)
{
   service.start();
   const zerovaapi_Session session = connect();
   EXPECT_TRUE(inACopyOfThisProcess([&] {
      const bool answered = answers(session);
      zerovaapi_destroySession(session);
      return answered;
   }));
   EXPECT_TRUE(answers(session));
   zerovaapi_destroySession(session);
}

} // namespace
