// A socket of the blocking socket calls, and the peer that it is connected to.
#ifndef TESTS_UNIT_TRANSPORT_CONNECTED_SOCKET_H
#define TESTS_UNIT_TRANSPORT_CONNECTED_SOCKET_H

#include "service/raw_peer.h"
#include "transport/socket_calls.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <optional>
#include <utility>

constexpr uint32_t kLoopback = 0x7F000001;
constexpr int32_t kLong = 60000; // a limit that is not to be reached

// Calls that need the library usable, on a connection to a peer that plays a script.
class ConnectedSocket : public testing::Test
{
protected:
   ConnectedSocket()
   {
      EXPECT_TRUE(zerova::sockInit());
      zerova::sockOpen(&rec);
   }
   ~ConnectedSocket() override
   {
      zerova::sockClose(&rec);
      EXPECT_TRUE(zerova::sockShutdown());
   }

   void connectTo(zerova::test::Script script)
   {
      peer.emplace(zerova::test::Listener::tcp("127.0.0.1"), std::move(script));
      ASSERT_TRUE(zerova::sockConnect(&rec, kLoopback, peer->port(), kLong));
   }

   // A reset that came at once could be in time to spoil the connect.
   void connectToThePeerThatResets()
   {
      connectTo(zerova::test::Script().receiveUntil("!").reset());
      ASSERT_EQ(platform::sendBytes(rec.sock, "!", 1), 1);
   }

   zerova::SockRec rec;
   std::optional<zerova::test::RawPeer> peer;
};

#endif
