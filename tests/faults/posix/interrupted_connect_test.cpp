// A connection that is interrupted while it is made.
#include "exports/peer_session.h"
#include "service/checked_status.h"
#include "support/signals.h"

#include <gtest/gtest.h>

#include <future>
#include <memory>

namespace {

using namespace zerova::test;

// A listener without room does not answer: the system tries again by itself after a second.
TEST(InterruptedConnect, IsWaitedForInTheOneAttempt)
{
   constexpr int kSome = 300;
   const LoopbackAddress host;
   Listener listener = Listener::tcp(host.text(), 0, 0);
   const Stream other = Stream::connectTcp(host.text(), listener.port());
   LocatorPeer locator(host.text(), mappingReply(listener.port()));
   const Signals signals;
   auto service = std::async(std::launch::async, [&] {
      locator.peer().waitUntilFinished(0);
      signals.waitForMore(kSome);
      return std::make_unique<RawPeer>(std::move(listener), answeringPlainly());
   });
   CheckedStatus status;
   const zerovaapi_Session session = zerovaapi_createRemoteSession(host.text().c_str(), status);
   const auto running = service.get();
   EXPECT_NE(session, nullptr) << status.json();
   EXPECT_EQ(locator.requests().size(), 1u);
   EXPECT_GE(signals.count(), kSome);
   zerovaapi_destroySession(session);
}

} // namespace
