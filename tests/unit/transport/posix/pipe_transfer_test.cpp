// One transfer on a pipe that is a socket.
#include "unit/transport/posix/call_faults.h"
#include "unit/transport/system_faults.h"
#include "unit/transport/transferring_pipe.h"

#include <cerrno>
#include <gtest/gtest.h>
#include <vector>

namespace {

class SocketTransfer : public TransferringPipe
{
};

TEST_F(SocketTransfer, WriteThatFindsRoomNeedsNoWait)
{
   faults::WatchedWaits polls(faults::WatchedWaits::On::kPipes);
   write(60000);
   EXPECT_TRUE(polls.limits().empty());
}

TEST_F(SocketTransfer, InterruptedWaitGoesOnWithWhatIsLeftOfItsLimit)
{
   sendFromPeer("abc");
   faults::WatchedWaits polls(faults::WatchedWaits::On::kPipes);
   faults::interruptNextPollsLater(2);
   EXPECT_EQ(read(60000), 3u);
   const std::vector<int>& limits = polls.limits();
   ASSERT_EQ(limits.size(), 3u);
   EXPECT_EQ(limits[0], 60000);
   EXPECT_LE(limits[1], limits[0] - faults::kInterruptedAfterMs);
   EXPECT_LE(limits[2], limits[1] - faults::kInterruptedAfterMs);
   EXPECT_GT(limits[2], 30000);
}

TEST_F(SocketTransfer, ClosedHandleFailsTheWait)
{
   platform::PipeTransfer transfer{event->get()};
   ASSERT_EQ(platform::startRead(1000000, buffer, sizeof(buffer), transfer), 0);
   const platform::WaitedTransfer waited = platform::waitForTransfer(transfer, 60000);
   EXPECT_EQ(waited.result, platform::TransferWait::failed);
   EXPECT_EQ(waited.error, EBADF);
}

} // namespace
