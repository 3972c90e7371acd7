// The wait under all socket calls, and its five flags.
#include "service/loopback_address.h"
#include "service/raw_peer.h"
#include "transport/socket_calls.h"
#include "unit/transport/descriptors.h"
#include "unit/transport/system_faults.h"

#include <arpa/inet.h>
#include <cerrno>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <optional>
#include <ostream>
#include <sys/socket.h>
#include <unistd.h>

namespace {

using namespace zerova;
using test::Listener;
using test::RawPeer;
using test::Script;

constexpr uint32_t kLoopback = 0x7F000001;
constexpr int32_t kLong = 60000;

struct Flags
{
   int readable = 7;
   int writable = 7;
   int errored = 7;
   int timedOut = 7;
   int interrupted = 7;
   bool operator==(const Flags&) const = default;
};

void PrintTo(const Flags& flags, std::ostream* out)
{
   *out << "readable " << flags.readable << ", writable " << flags.writable << ", errored "
        << flags.errored << ", timed out " << flags.timedOut << ", interrupted "
        << flags.interrupted;
}

constexpr Flags kNone{0, 0, 0, 0, 0};

class SocketWait : public testing::Test
{
protected:
   SocketWait()
   {
      wakeDescriptor = descriptors::next();
      EXPECT_TRUE(sockInit());
      sockOpen(&rec);
   }
   ~SocketWait() override
   {
      sockClose(&rec);
      EXPECT_TRUE(sockShutdown());
   }

   void connectTo(Script script)
   {
      peer.emplace(Listener::tcp("127.0.0.1"), std::move(script));
      ASSERT_TRUE(sockConnect(&rec, kLoopback, peer->port(), kLong));
   }

   Flags waitForAll(int32_t timeout)
   {
      Flags found;
      sockWait(&rec, timeout, &found.readable, &found.writable, &found.errored, &found.timedOut,
               &found.interrupted);
      return found;
   }

   // Makes the wake socket ready to read for good.
   void interrupt()
   {
      sockaddr_in address{};
      address.sin_family = AF_INET;
      address.sin_addr.s_addr = htonl(kLoopback);
      socklen_t size = sizeof(address);
      auto* const generic = reinterpret_cast<sockaddr*>(&address);
      ASSERT_EQ(bind(wakeDescriptor, generic, size), 0);
      ASSERT_EQ(getsockname(wakeDescriptor, generic, &size), 0);
      const int sender = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
      EXPECT_EQ(sendto(sender, "x", 1, 0, generic, size), 1);
      close(sender);
   }

   int wakeDescriptor;
   SockRec rec;
   std::optional<RawPeer> peer;
};

TEST_F(SocketWait, ClosedRecordIsErroredAtOnce)
{
   sockClose(&rec);
   EXPECT_EQ(waitForAll(-1), (Flags{0, 0, 1, 0, 0}));
   EXPECT_FALSE(sockWaitReadable(&rec, -1));
   EXPECT_FALSE(sockWaitWritable(&rec, -1));
   sockWait(&rec, -1, nullptr, nullptr, nullptr, nullptr, nullptr);
}

TEST_F(SocketWait, ConnectedSocketIsWritable)
{
   connectTo(Script().hold());
   EXPECT_EQ(waitForAll(kLong), (Flags{0, 1, 0, 0, 0}));
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
   int pending = 0;
   socklen_t size = sizeof(pending);
   getsockopt(static_cast<int>(rec.sock), SOL_SOCKET, SO_ERROR, &pending, &size);
   EXPECT_EQ(pending, ECONNREFUSED) << "the wait leaves the pending error where it is";
}

TEST_F(SocketWait, ResetConnectionIsErroredAndNotWritable)
{
   connectTo(Script().receiveUntil("!").reset());
   ASSERT_EQ(platform::sendBytes(rec.sock, "!", 1), 1);
   ASSERT_TRUE(sockWaitReadable(&rec, kLong));
   const Flags found = waitForAll(kLong);
   EXPECT_EQ(found.errored, 1);
   EXPECT_EQ(found.writable, 0);
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
   const int next = descriptors::next();
   const std::optional<test::Stream> other = listener.accept(never);
   ASSERT_EQ(send(next, "!", 1, MSG_OOB | MSG_NOSIGNAL), 1);
   Flags found;
   sockWait(&rec, kLong, nullptr, nullptr, &found.errored, &found.timedOut, nullptr);
   EXPECT_EQ(found, (Flags{7, 7, 1, 0, 7}));
}

TEST_F(SocketWait, FailedWaitIsInterruptedAndErroredForACallerThatAsksForErrors)
{
   const platform::Socket open = rec.sock;
   rec.sock = 1000000; // a descriptor that is not open
   EXPECT_EQ(waitForAll(kLong), (Flags{0, 0, 1, 0, 1}));
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
   interrupt();
   Flags expected = kNone;
   expected.interrupted = 1;
   EXPECT_EQ(waitForAll(kLong), expected);
   EXPECT_FALSE(sockWaitReadable(&rec, kLong));
   char byte = 0;
   EXPECT_EQ(sockRecv(&rec, &byte, 1, kLong), 0);
}

TEST_F(SocketWait, InterruptedPollGoesOnWithWhatIsLeftOfItsTime)
{
   connectTo(Script().hold());
   faults::WatchedPoll polls;
   polls.interruptNext(2);
   EXPECT_TRUE(sockWaitWritable(&rec, kLong));
   const std::vector<int>& limits = polls.limits();
   ASSERT_EQ(limits.size(), 3u);
   EXPECT_EQ(limits[0], kLong);
   EXPECT_LE(limits[1], limits[0] - faults::WatchedPoll::kInterruptedAfterMs);
   EXPECT_LE(limits[2], limits[1] - faults::WatchedPoll::kInterruptedAfterMs);
   EXPECT_GT(limits[2], kLong / 2);
}

TEST_F(SocketWait, InterruptedPollWithoutALimitStaysWithoutOne)
{
   connectTo(Script().hold());
   faults::WatchedPoll polls;
   polls.failNext(EINTR, 2);
   EXPECT_TRUE(sockWaitWritable(&rec, -1));
   EXPECT_EQ(polls.limits(), (std::vector<int>{-1, -1, -1}));
}

} // namespace
