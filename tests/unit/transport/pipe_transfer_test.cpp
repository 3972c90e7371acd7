// One transfer on a pipe with a time limit, which no session sets.
#include "faults/blocked_thread.h"
#include "transport/pipe_handles.h"
#include "transport/pipe_transfer.h"
#include "unit/transport/system_faults.h"

#include <cerrno>
#include <future>
#include <gtest/gtest.h>
#include <string>
#include <sys/socket.h>
#include <thrift/Thrift.h>
#include <thrift/transport/TTransportException.h>
#include <unistd.h>
#include <vector>

namespace {

using apache::thrift::transport::getOverlappedResultWithTimeout;
using apache::thrift::transport::pseudo_sync_read;
using apache::thrift::transport::pseudo_sync_write;
using apache::thrift::transport::TAutoHandle;
using apache::thrift::transport::TManualResetEvent;
using apache::thrift::transport::TTransportException;

std::string diagnostics;

class PipeTransfer : public testing::Test
{
protected:
   PipeTransfer()
   {
      int pair[2] = {-1, -1};
      EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair), 0);
      own.reset(pair[0]);
      peer.reset(pair[1]);
      diagnostics.clear();
      apache::thrift::GlobalOutput.setOutputFunction([](const char* text) { diagnostics += text; });
   }
   ~PipeTransfer() override
   {
      apache::thrift::GlobalOutput.setOutputFunction([](const char*) {});
   }

   void sendFromPeer(const std::string& bytes)
   {
      EXPECT_EQ(send(static_cast<int>(peer.get()), bytes.data(), bytes.size(), MSG_NOSIGNAL),
                static_cast<ssize_t>(bytes.size()));
   }

   // Until a write would wait.
   void fillOwnBuffer()
   {
      const std::string block(65536, 'x');
      while (send(static_cast<int>(own.get()), block.data(), block.size(),
                  MSG_NOSIGNAL | MSG_DONTWAIT) > 0)
      {
      }
   }

   uint32_t read(int32_t limit)
   {
      return pseudo_sync_read(own.get(), event.get(), buffer, 8, limit);
   }
   void write(int32_t limit) { pseudo_sync_write(own.get(), event.get(), buffer, 8, limit); }

   // A transfer that nobody ends tells the state of the event that it shares.
   bool eventIsRaised()
   {
      int idle[2] = {-1, -1};
      EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, idle), 0);
      const TAutoHandle one(idle[0]);
      const TAutoHandle other(idle[1]);
      platform::PipeTransfer under{quiet.get()};
      EXPECT_EQ(platform::startRead(one.get(), buffer, sizeof(buffer), under), 0);
      under.event = event.get();
      return platform::waitForTransfer(under, 0).result == platform::TransferWait::ended;
   }

   void lowerEvent()
   {
      platform::PipeTransfer transfer{event.get()};
      EXPECT_EQ(platform::startRead(own.get(), buffer, sizeof(buffer), transfer), 0);
   }

   template <typename Action>
   void expectFailure(Action action, int type, const std::string& text,
                      const std::string& diagnostic)
   {
      try {
         action();
         ADD_FAILURE() << "nothing was thrown";
      } catch (const TTransportException& failure) {
         EXPECT_EQ(failure.getType(), type);
         EXPECT_EQ(failure.what(), text);
      }
      EXPECT_EQ(diagnostics, diagnostic);
   }

   TAutoHandle own;
   TAutoHandle peer;
   TManualResetEvent event;
   TManualResetEvent quiet;
   uint8_t buffer[8] = {};
};

TEST_F(PipeTransfer, ReadThatGetsNothingTimesOut)
{
   expectFailure([&] { read(10); }, TTransportException::TIMED_OUT,
                 "getOverlappedResultWithTimeout timed out",
                 "getOverlappedResultWithTimeout timed out");
}

TEST_F(PipeTransfer, ReadThatTimedOutTookNothing)
{
   EXPECT_THROW(read(10), TTransportException);
   sendFromPeer("later");
   EXPECT_EQ(read(10), 5u);
}

TEST_F(PipeTransfer, ReadWithinItsLimitReturnsWhatCame)
{
   sendFromPeer("abc");
   EXPECT_EQ(read(60000), 3u);
}

TEST_F(PipeTransfer, EndOfTheConnectionWithinTheLimitIsAFailureAndNoTimeOut)
{
   peer.reset();
   expectFailure([&] { read(60000); }, TTransportException::UNKNOWN,
                 "getOverlappedResultWithTimeout failed",
                 "getOverlappedResultWithTimeout errored GLE=: Broken pipe");
}

// The diagnostic tells why before the cancelling can change it.
TEST_F(PipeTransfer, FailedWaitIsToldBeforeTheTransfersAreCancelled)
{
   using Steps = std::vector<std::string>;
   faults::PipeSteps steps;
   apache::thrift::GlobalOutput.setOutputFunction([](const char*) { faults::noteStep("told"); });
   EXPECT_THROW(read(10), TTransportException);
   EXPECT_EQ(steps.taken(), (Steps{"event raised", "told", "cancelled"})) << "timed out";
   {
      faults::WatchedPoll polls;
      polls.failNext(ENOMEM);
      EXPECT_THROW(read(60000), TTransportException);
   }
   EXPECT_EQ(steps.taken(), (Steps{"event raised", "told", "cancelled"})) << "failed wait";
   peer.reset();
   EXPECT_THROW(read(60000), TTransportException);
   EXPECT_EQ(steps.taken(), (Steps{"event raised", "told"})) << "failed transfer";
   EXPECT_THROW(write(-1), TTransportException);
   EXPECT_EQ(steps.taken(), (Steps{"event raised", "told"})) << "failed start";
}

TEST_F(PipeTransfer, WriteThatFindsNoRoomTimesOut)
{
   fillOwnBuffer();
   expectFailure([&] { write(10); }, TTransportException::TIMED_OUT,
                 "getOverlappedResultWithTimeout timed out",
                 "getOverlappedResultWithTimeout timed out");
}

TEST_F(PipeTransfer, WriteThatFindsRoomNeedsNoWait)
{
   faults::WatchedPoll polls;
   write(60000);
   EXPECT_TRUE(polls.limits().empty());
}

TEST_F(PipeTransfer, WaitThatFailsFailsTheTransfer)
{
   faults::WatchedPoll polls;
   polls.failNext(ENOMEM);
   expectFailure([&] { read(60000); }, TTransportException::UNKNOWN,
                 "getOverlappedResultWithTimeout failed",
                 "getOverlappedResultWithTimeout errored GLE=: Cannot allocate memory");
}

TEST_F(PipeTransfer, InterruptedWaitGoesOnWithWhatIsLeftOfItsLimit)
{
   faults::WatchedPoll polls;
   polls.interruptNext(2);
   sendFromPeer("abc");
   EXPECT_EQ(read(60000), 3u);
   const std::vector<int>& limits = polls.limits();
   ASSERT_EQ(limits.size(), 3u);
   EXPECT_EQ(limits[0], 60000);
   EXPECT_LE(limits[1], limits[0] - faults::WatchedPoll::kInterruptedAfterMs);
   EXPECT_LE(limits[2], limits[1] - faults::WatchedPoll::kInterruptedAfterMs);
   EXPECT_GT(limits[2], 30000);
}

TEST_F(PipeTransfer, NoLimitMeansNoPoll)
{
   faults::WatchedPoll polls;
   sendFromPeer("abc");
   EXPECT_EQ(read(-1), 3u);
   write(-1);
   EXPECT_TRUE(polls.limits().empty());
}

TEST_F(PipeTransfer, ZeroIsNoLimitEither)
{
   faults::WatchedPoll polls;
   sendFromPeer("abc");
   EXPECT_EQ(read(0), 3u);
   EXPECT_TRUE(polls.limits().empty());
}

// The thread that reads; the test sends when it waits.
TEST_F(PipeTransfer, ZeroWaitsForWhatHasNotCome)
{
   std::promise<zerova::test::ThreadNumber> reader;
   auto count = std::async(std::launch::async, [&] {
      reader.set_value(zerova::test::ownThreadNumber());
      return read(0);
   });
   ASSERT_TRUE(zerova::test::waitUntilBlocked(reader.get_future().get()));
   sendFromPeer("abc");
   EXPECT_EQ(count.get(), 3u);
}

TEST_F(PipeTransfer, ReadWithoutAHandleFailsItsStart)
{
   own.reset();
   expectFailure([&] { read(-1); }, TTransportException::UNKNOWN, "TPipe: read failed",
                 "TPipe ::ReadFile errored GLE=: Bad file descriptor");
}

TEST_F(PipeTransfer, WriteWithoutAHandleFailsItsStart)
{
   own.reset();
   expectFailure([&] { write(-1); }, TTransportException::UNKNOWN, "TPipe: write failed",
                 "TPipe ::WriteFile errored GLE=: Bad file descriptor");
}

TEST_F(PipeTransfer, WriteOfNothingDoesNotEvenLookAtTheHandle)
{
   own.reset();
   EXPECT_NO_THROW(pseudo_sync_write(own.get(), event.get(), buffer, 0, -1));
}

TEST_F(PipeTransfer, EveryFailureRaisesTheEvent)
{
   EXPECT_THROW(read(10), TTransportException); // times out
   EXPECT_TRUE(eventIsRaised());

   lowerEvent();
   peer.reset();
   EXPECT_THROW(write(-1), TTransportException); // cannot start
   EXPECT_TRUE(eventIsRaised());

   lowerEvent();
   EXPECT_THROW(read(-1), TTransportException); // cannot be finished
   EXPECT_TRUE(eventIsRaised());
}

TEST_F(PipeTransfer, StartLowersTheEvent)
{
   platform::raiseEvent(event.get());
   platform::PipeTransfer transfer{event.get()};
   ASSERT_EQ(platform::startRead(own.get(), buffer, sizeof(buffer), transfer), 0);
   EXPECT_EQ(platform::waitForTransfer(transfer, 0).result, platform::TransferWait::timedOut);
}

TEST_F(PipeTransfer, WaitThatEndsTooEarlyFailsTheTransferInsteadOfBlocking)
{
   platform::PipeTransfer transfer{event.get()};
   ASSERT_EQ(platform::startRead(own.get(), buffer, sizeof(buffer), transfer), 0);
   platform::raiseEvent(event.get());
   uint32_t count = 0;
   expectFailure([&] { getOverlappedResultWithTimeout(own.get(), transfer, count, 60000, true); },
                 TTransportException::UNKNOWN, "getOverlappedResultWithTimeout failed",
                 "getOverlappedResultWithTimeout errored GLE=: Resource temporarily unavailable");
}

TEST_F(PipeTransfer, FinishThatMayNotBlockFailsWhileTheTransferIsUnderWay)
{
   platform::PipeTransfer transfer{event.get()};
   ASSERT_EQ(platform::startRead(own.get(), buffer, sizeof(buffer), transfer), 0);
   uint32_t count = 0;
   EXPECT_EQ(platform::finishTransfer(own.get(), transfer, false, count), EAGAIN);
}

TEST_F(PipeTransfer, ClosedHandleFailsTheWait)
{
   platform::PipeTransfer transfer{event.get()};
   ASSERT_EQ(platform::startRead(1000000, buffer, sizeof(buffer), transfer), 0);
   const platform::WaitedTransfer waited = platform::waitForTransfer(transfer, 60000);
   EXPECT_EQ(waited.result, platform::TransferWait::failed);
   EXPECT_EQ(waited.error, EBADF);
}

} // namespace
