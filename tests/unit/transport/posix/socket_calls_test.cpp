// Signals, by which no socket call ends.
#include "transport/socket_calls.h"
#include "unit/transport/connected_socket.h"
#include "unit/transport/posix/call_faults.h"

#include <cerrno>
#include <csignal>
#include <gtest/gtest.h>

namespace {

using namespace zerova;
using test::Listener;
using test::Script;

class InterruptedSocketCalls : public ConnectedSocket
{
};

TEST_F(InterruptedSocketCalls, InterruptedConnectGoesOn)
{
   peer.emplace(Listener::tcp("127.0.0.1"), Script().send("x").hold());
   const platform::Socket other = platform::createTcpSocket();
   {
      const faults::Failing interrupted(faults::Call::kConnect, EINTR);
      EXPECT_EQ(platform::startConnect(other, kLoopback, peer->port()),
                platform::ConnectStart::underWay);
   }
   {
      const faults::Failing noLocalPort(faults::Call::kConnect, EAGAIN);
      EXPECT_EQ(platform::startConnect(other, kLoopback, peer->port()),
                platform::ConnectStart::failed);
   }
   EXPECT_TRUE(platform::closeSocket(other));
}

TEST_F(InterruptedSocketCalls, InterruptedTransfersAreResumed)
{
   connectTo(Script().receiveUntil("!").send("y").hold());
   const faults::Failing send(faults::Call::kSend, EINTR, 2);
   EXPECT_EQ(sockSend(&rec, "!", 1, kLong), 1);
   EXPECT_TRUE(send.hasHappened());
   const faults::Failing receive(faults::Call::kReceive, EINTR, 2);
   char byte = 0;
   EXPECT_EQ(sockRecv(&rec, &byte, 1, kLong), 1);
   EXPECT_TRUE(receive.hasHappened());
}

TEST_F(InterruptedSocketCalls, SendToAPeerThatHasResetRaisesNoSignal)
{
   connectToThePeerThatResets();
   ASSERT_TRUE(peer->waitUntilFinished(0));
   const auto previous = std::signal(SIGPIPE, SIG_DFL); // ends the process if it is raised
   EXPECT_LT(platform::sendBytes(rec.sock, "x", 1), 1); // fetches the pending error
   EXPECT_LT(platform::sendBytes(rec.sock, "x", 1), 1); // what raises the signal elsewhere
   std::signal(SIGPIPE, previous);
}

} // namespace
