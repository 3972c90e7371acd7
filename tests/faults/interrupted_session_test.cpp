// Sessions in a host whose timer interrupts every call: a signal is no failure of a connection.
#include "exports/peer_session.h"
#include "faults/endpoint_peer.h"
#include "service/checked_status.h"
#include "service/wire_bytes.h"
#include "support/signals.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using namespace zerova::test;

constexpr int kMany = 1000;

class InterruptedSession : public testing::TestWithParam<Endpoint>
{
protected:
   ~InterruptedSession() override { zerovaapi_destroySession(session); }

   // The service keeps its client waiting until that has been interrupted often.
   Script waitingBefore(const std::string& answer)
   {
      return Script()
         .acceptVersion()
         .call([this] { wasInterrupted = signals.waitForMore(kMany); })
         .answerAll([answer](const std::string&) { return answer; });
   }

   void begin(Script script)
   {
      peer = std::make_unique<EndpointPeer>(GetParam(), std::vector<Script>{std::move(script)});
      CheckedStatus status;
      session = peer->connect(status);
      if (!session) throw std::runtime_error(status.json());
   }

   const Signals signals;
   std::atomic<bool> wasInterrupted = false;
   std::unique_ptr<EndpointPeer> peer;
   zerovaapi_Session session = nullptr;
};

INSTANTIATE_TEST_SUITE_P(All, InterruptedSession, testing::Values(Endpoint::local, Endpoint::tcp),
                         [](const auto& each) { return nameOf(each.param); });

TEST_P(InterruptedSession, WaitsForItsReply)
{
   begin(waitingBefore(i32Reply("getSystemChangeNumber", 7)));
   CheckedStatus status;
   EXPECT_EQ(zerovaapi_getSystemChangeNumber(session, status), 7);
   EXPECT_EQ(status.code(), 0) << status.json();
   EXPECT_TRUE(wasInterrupted);
}

// Larger than what the system takes while nobody reads.
TEST_P(InterruptedSession, SendsARequestToItsEnd)
{
   begin(waitingBefore(boolReply("validateTerminalURI", true)));
   const std::string uri(32u << 20, 'u');
   CheckedStatus status;
   EXPECT_TRUE(zerovaapi_validateTerminalURI(session, uri.c_str(), status));
   EXPECT_EQ(status.code(), 0) << status.json();
   EXPECT_TRUE(wasInterrupted);
   const auto request = WireBytes().message(wire::kCall, "validateTerminalURI").textField(1, uri);
   EXPECT_TRUE(peer->service().frames().at(1) == WireBytes(request).stop().frame());
}

TEST_P(InterruptedSession, ReadsALongReplyInManyPieces)
{
   const std::string name(8u << 20, 'd');
   begin(waitingBefore(textListReply("getRoutableDevices", {name})));
   CheckedStatus status;
   char** const devices = zerovaapi_getRoutableDevices(session, status);
   ASSERT_NE(devices, nullptr) << status.json();
   EXPECT_TRUE(devices[0] == name);
   EXPECT_TRUE(wasInterrupted);
   zerovaapi_destroyStringArray(devices);
}

} // namespace
