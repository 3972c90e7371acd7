// The wait under all socket calls, and its five flags.
#include "service/loopback_address.h"
#include "unit/transport/connected_socket.h"
#include "unit/transport/descriptors.h"
#include "unit/transport/socket_flags.h"
#include "unit/transport/system_faults.h"

#include <gtest/gtest.h>
#include <optional>

namespace {

using namespace zerova;
using test::Listener;
using test::Script;

constexpr Flags kNone{0, 0, 0, 0, 0};

class SocketWait : public ConnectedSocket
{
};

TEST_F(SocketWait, ClosedRecordIsErroredAtOnce)
{
   sockClose(&rec);
   EXPECT_EQ(waitForAll(rec, -1), (Flags{0, 0, 1, 0, 0}));
   EXPECT_FALSE(sockWaitReadable(&rec, -1));
   EXPECT_FALSE(sockWaitWritable(&rec, -1));
   sockWait(&rec, -1, nullptr, nullptr, nullptr, nullptr, nullptr);
}

TEST_F(SocketWait, ConnectedSocketIsWritable)
{
   connectTo(Script().hold());
   EXPECT_EQ(waitForAll(rec, kLong), (Flags{0, 1, 0, 0, 0}));
   EXPECT_TRUE(sockWaitWritable(&rec, 0));
   EXPECT_FALSE(sockWaitReadable(&rec, 0));
}

TEST_F(SocketWait, BytesAndTheEndOfTheDataAreReadable)
{
   connectTo(Script().send("x"));
   char byte = 0;
   EXPECT_TRUE(sockWaitReadable(&rec, -1));
   EXPECT_EQ(platform::receiveBytes(rec.sock, &byte, 1), 1);
   EXPECT_TRUE(sockWaitReadable(&rec, -1));
   EXPECT_EQ(platform::receiveBytes(rec.sock, &byte, 1), 0);
}

TEST_F(SocketWait, TimeOutIsToldAndNothingElse)
{
   connectTo(Script().hold());
   Flags found;
   sockWait(&rec, 10, &found.readable, nullptr, &found.errored, &found.timedOut,
            &found.interrupted);
   EXPECT_EQ(found, (Flags{0, 7, 0, 1, 0}));
}

TEST_F(SocketWait, OnlyWhatIsAskedForIsWaitedFor)
{
   connectTo(Script().send("x").hold());
   ASSERT_TRUE(sockWaitReadable(&rec, kLong));
   Flags found;
   sockWait(&rec, 10, nullptr, nullptr, &found.errored, &found.timedOut, nullptr);
   EXPECT_EQ(found, (Flags{7, 7, 0, 1, 7}));
   found = {};
   sockWait(&rec, kLong, nullptr, &found.writable, nullptr, nullptr, nullptr);
   EXPECT_EQ(found, (Flags{7, 1, 7, 7, 7}));
}

TEST_F(SocketWait, RefusedConnectionIsErroredAndNotWritable)
{
   const test::LoopbackAddress nobody;
   ASSERT_EQ(platform::startConnect(rec.sock, sockResolve(nobody.text().c_str()), 80),
             platform::ConnectStart::underWay);
   Flags found;
   sockWait(&rec, kLong, nullptr, &found.writable, &found.errored, &found.timedOut,
            &found.interrupted);
   EXPECT_EQ(found, (Flags{7, 0, 1, 0, 0}));
   EXPECT_TRUE(descriptors::hasRefusalPending(rec.sock))
      << "the wait leaves the pending error where it is";
}

TEST_F(SocketWait, BytesAheadOfAResetAreStillReadable)
{
   connectTo(Script().receiveUntil("!").send("x").reset());
   ASSERT_EQ(platform::sendBytes(rec.sock, "!", 1), 1);
   ASSERT_TRUE(peer->waitUntilFinished(0));
   EXPECT_TRUE(sockWaitReadable(&rec, kLong));
}

TEST_F(SocketWait, UrgentDataIsAnExceptionAsSelectHasIt)
{
   const test::StopSignal never;
   Listener listener = Listener::tcp("127.0.0.1");
   ASSERT_TRUE(sockConnect(&rec, kLoopback, listener.port(), kLong));
   const std::optional<test::Stream> other = listener.accept(never);
   descriptors::sendUrgentByte(other->handle());
   Flags found;
   sockWait(&rec, kLong, nullptr, nullptr, &found.errored, &found.timedOut, nullptr);
   EXPECT_EQ(found, (Flags{7, 7, 1, 0, 7}));
}

TEST_F(SocketWait, FailedWaitIsInterruptedAndErroredForACallerThatAsksForErrors)
{
   const platform::Socket open = rec.sock;
   rec.sock = 1000000; // a descriptor that is not open
   EXPECT_EQ(waitForAll(rec, kLong), (Flags{0, 0, 1, 0, 1}));
   Flags found;
   sockWait(&rec, kLong, &found.readable, &found.writable, nullptr, &found.timedOut,
            &found.interrupted);
   EXPECT_EQ(found, (Flags{0, 0, 7, 0, 0}));
   found = {};
   sockWait(&rec, kLong, nullptr, nullptr, &found.errored, nullptr, nullptr);
   EXPECT_EQ(found, (Flags{7, 7, 1, 7, 7}));
   rec.sock = open;
}

TEST_F(SocketWait, WakeSocketInterruptsWhateverElseIsReady)
{
   connectTo(Script().send("x").hold());
   ASSERT_TRUE(sockWaitReadable(&rec, kLong));
   descriptors::makeWakeSocketReady(faults::lastWakeSocket());
   Flags expected = kNone;
   expected.interrupted = 1;
   EXPECT_EQ(waitForAll(rec, kLong), expected);
   EXPECT_FALSE(sockWaitReadable(&rec, kLong));
   char byte = 0;
   EXPECT_EQ(sockRecv(&rec, &byte, 1, kLong), 0);
}

} // namespace
