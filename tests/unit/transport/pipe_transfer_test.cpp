// One transfer on a pipe with a time limit, which no session sets.
#include "unit/transport/local_pipe_facts.h"
#include "unit/transport/system_faults.h"
#include "unit/transport/transferring_pipe.h"

#include <future>
#include <gmock/gmock.h>
#include <string>
#include <vector>

namespace {

using apache::thrift::transport::getOverlappedResultWithTimeout;
using apache::thrift::transport::pseudo_sync_write;
using On = faults::WatchedWaits::On;

std::string textOf(int number)
{
   return apache::thrift::TOutput::strerror_s(number);
}

class PipeTransfer : public TransferringPipe
{
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
   peer.close();
   try {
      read(60000);
      ADD_FAILURE() << "nothing was thrown";
   } catch (const TTransportException& failure) {
      EXPECT_EQ(failure.getType(), TTransportException::UNKNOWN);
      EXPECT_THAT(failure.what(), testing::AnyOfArray(kTextsOfABrokenRead));
   }
   EXPECT_THAT(diagnostics(), testing::HasSubstr(" errored GLE=: "));
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
      faults::WatchedWaits waits(On::kPipes);
      waits.failNext();
      EXPECT_THROW(read(60000), TTransportException);
   }
   EXPECT_EQ(steps.taken(), (Steps{"event raised", "told", "cancelled"})) << "failed wait";
   peer.close();
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

TEST_F(PipeTransfer, WaitThatFailsFailsTheTransfer)
{
   faults::WatchedWaits waits(On::kPipes);
   waits.failNext();
   expectFailure([&] { read(60000); }, TTransportException::UNKNOWN,
                 "getOverlappedResultWithTimeout failed",
                 "getOverlappedResultWithTimeout errored GLE=: ");
}

TEST_F(PipeTransfer, NoLimitMeansNoWaitForTheEvent)
{
   sendFromPeer("abc");
   faults::WatchedWaits waits(On::kPipes);
   EXPECT_EQ(read(-1), 3u);
   write(-1);
   EXPECT_TRUE(waits.limits().empty());
}

TEST_F(PipeTransfer, ZeroIsNoLimitEither)
{
   sendFromPeer("abc");
   faults::WatchedWaits waits(On::kPipes);
   EXPECT_EQ(read(0), 3u);
   EXPECT_TRUE(waits.limits().empty());
}

// The thread that reads; the test sends when that waits.
TEST_F(PipeTransfer, ZeroWaitsForWhatHasNotCome)
{
   faults::WatchedFinish finish;
   auto count = std::async(std::launch::async, [&] { return read(0); });
   EXPECT_TRUE(finish.waitUntilItMayWait());
   sendFromPeer("abc");
   EXPECT_EQ(count.get(), 3u);
}

TEST_F(PipeTransfer, ReadWithoutAHandleFailsItsStart)
{
   own.reset();
   expectFailure([&] { read(-1); }, TTransportException::UNKNOWN, "TPipe: read failed",
                 "TPipe ::ReadFile errored GLE=: " + textOf(kNoHandle));
}

TEST_F(PipeTransfer, WriteWithoutAHandleFailsItsStart)
{
   own.reset();
   expectFailure([&] { write(-1); }, TTransportException::UNKNOWN, "TPipe: write failed",
                 "TPipe ::WriteFile errored GLE=: " + textOf(kNoHandle));
}

TEST_F(PipeTransfer, WriteOfNothingDoesNotEvenLookAtTheHandle)
{
   own.reset();
   EXPECT_NO_THROW(pseudo_sync_write(own.get(), event->get(), buffer, 0, -1));
}

TEST_F(PipeTransfer, EveryFailureRaisesTheEvent)
{
   EXPECT_THROW(read(10), TTransportException); // times out
   EXPECT_TRUE(eventIsRaised());

   event.emplace();
   peer.close();
   EXPECT_THROW(write(-1), TTransportException); // cannot start
   EXPECT_TRUE(eventIsRaised());

   event.emplace();
   EXPECT_THROW(read(-1), TTransportException); // cannot be finished
   EXPECT_TRUE(eventIsRaised());
}

TEST_F(PipeTransfer, StartLowersTheEvent)
{
   platform::raiseEvent(event->get());
   duringRead([&](platform::PipeTransfer& transfer) {
      EXPECT_EQ(platform::waitForTransfer(transfer, 0).result, platform::TransferWait::timedOut);
   });
}

TEST_F(PipeTransfer, WaitThatEndsTooEarlyFailsTheTransferInsteadOfBlocking)
{
   duringRead([&](platform::PipeTransfer& transfer) {
      platform::raiseEvent(event->get());
      uint32_t count = 0;
      expectFailure(
         [&] { getOverlappedResultWithTimeout(own.get(), transfer, count, 60000, true); },
         TTransportException::UNKNOWN, "getOverlappedResultWithTimeout failed",
         "getOverlappedResultWithTimeout errored GLE=: " + textOf(kUnderWay));
   });
}

TEST_F(PipeTransfer, FinishThatMayNotBlockFailsWhileTheTransferIsUnderWay)
{
   duringRead([&](platform::PipeTransfer& transfer) {
      uint32_t count = 0;
      EXPECT_EQ(platform::finishTransfer(own.get(), transfer, false, count), kUnderWay);
   });
}

TEST_F(PipeTransfer, ReadOfNothingHasEndedAtItsStart)
{
   platform::PipeTransfer transfer{event->get()};
   ASSERT_EQ(platform::startRead(own.get(), buffer, 0, transfer), 0);
   EXPECT_EQ(platform::waitForTransfer(transfer, 0).result, platform::TransferWait::ended);
   uint32_t count = 77;
   EXPECT_EQ(platform::finishTransfer(own.get(), transfer, false, count), 0);
   EXPECT_EQ(count, 0u);
}

} // namespace
