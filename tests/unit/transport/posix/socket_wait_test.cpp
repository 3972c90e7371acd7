// The wait under all socket calls, as one that is a poll.
#include "unit/transport/connected_socket.h"
#include "unit/transport/posix/call_faults.h"
#include "unit/transport/socket_flags.h"
#include "unit/transport/system_faults.h"

#include <gtest/gtest.h>
#include <vector>

namespace {

using namespace zerova;
using test::Script;

class SocketPoll : public ConnectedSocket
{
};

TEST_F(SocketPoll, ResetConnectionIsErroredAndNotWritable)
{
   connectTo(Script().receiveUntil("!").reset());
   ASSERT_EQ(platform::sendBytes(rec.sock, "!", 1), 1);
   ASSERT_TRUE(sockWaitReadable(&rec, kLong));
   const Flags found = waitForAll(rec, kLong);
   EXPECT_EQ(found.errored, 1);
   EXPECT_EQ(found.writable, 0);
}

TEST_F(SocketPoll, InterruptedPollGoesOnWithWhatIsLeftOfItsTime)
{
   connectTo(Script().hold());
   const faults::WatchedWaits polls;
   faults::interruptNextPollsLater(2);
   EXPECT_TRUE(sockWaitWritable(&rec, kLong));
   const std::vector<int>& limits = polls.limits();
   ASSERT_EQ(limits.size(), 3u);
   EXPECT_EQ(limits[0], kLong);
   EXPECT_LE(limits[1], limits[0] - faults::kInterruptedAfterMs);
   EXPECT_LE(limits[2], limits[1] - faults::kInterruptedAfterMs);
   EXPECT_GT(limits[2], kLong / 2);
}

TEST_F(SocketPoll, InterruptedPollWithoutALimitStaysWithoutOne)
{
   connectTo(Script().hold());
   const faults::WatchedWaits polls;
   faults::interruptNextPolls(2);
   EXPECT_TRUE(sockWaitWritable(&rec, -1));
   EXPECT_EQ(polls.limits(), (std::vector<int>{-1, -1, -1}));
}

} // namespace
