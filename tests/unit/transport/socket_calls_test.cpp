#include "transport/socket_calls.h"

#include "service/loopback_address.h"
#include "support/open_descriptors.h"
#include "support/starting_line.h"
#include "unit/transport/connected_socket.h"
#include "unit/transport/descriptors.h"
#include "unit/transport/system_faults.h"

#include <atomic>
#include <climits>
#include <future>
#include <gtest/gtest.h>

namespace {

using namespace zerova;
using test::Listener;
using test::LoopbackAddress;
using test::Script;

class SocketCalls : public ConnectedSocket
{
};

TEST(SocketStart, ShutdownWithoutInitFailsAndChangesNothing)
{
   EXPECT_FALSE(sockShutdown());
   EXPECT_TRUE(sockInit());
   EXPECT_TRUE(sockShutdown());
   EXPECT_FALSE(sockShutdown());
}

TEST(SocketStart, SecondShutdownReleasesWhatTwoInitsHaveTakenOnce)
{
   const size_t before = descriptors::countOpen();
   EXPECT_TRUE(sockInit());
   EXPECT_EQ(descriptors::countOpen(), before + 1);
   EXPECT_TRUE(sockInit());
   EXPECT_EQ(descriptors::countOpen(), before + 1);
   EXPECT_TRUE(sockShutdown());
   EXPECT_EQ(descriptors::countOpen(), before + 1);
   EXPECT_TRUE(sockShutdown());
   EXPECT_EQ(descriptors::countOpen(), before);
}

TEST(SocketStart, InitWithoutASocketToBeHadFailsAndCountsNothing)
{
   {
      const faults::Refused none(faults::Wish::kSocket);
      EXPECT_FALSE(sockInit());
   }
   EXPECT_FALSE(sockShutdown());
   EXPECT_TRUE(sockInit());
   EXPECT_TRUE(sockShutdown());
}

TEST(SocketStart, ManyThreadsMayStartAndStopAtOnce)
{
   const size_t before = openDescriptors();
   std::vector<std::future<bool>> threads;
   for (int i = 0; i < 4; ++i)
      threads.push_back(std::async(std::launch::async, [] {
         bool succeeded = true;
         for (int round = 0; round < 200; ++round)
            succeeded = sockInit() && sockShutdown() && succeeded;
         return succeeded;
      }));
   for (auto& thread : threads)
      EXPECT_TRUE(thread.get());
   EXPECT_FALSE(sockShutdown());
   EXPECT_LE(openDescriptors(), before + kOpenForThreads); // of 800 sockets
}

TEST(SocketStart, OfThreadsThatStartAtOnceOneMakesTheWakeSocket)
{
   constexpr int kThreads = 8;
   StartingLine start(kThreads);
   {
      const faults::SlowWakeSockets sockets;
      std::vector<std::future<bool>> threads;
      for (int i = 0; i < kThreads; ++i)
         threads.push_back(std::async(std::launch::async, [&] {
            start.wait();
            return sockInit();
         }));
      for (auto& thread : threads)
         EXPECT_TRUE(thread.get());
      EXPECT_EQ(sockets.made(), 1);
   }
   EXPECT_TRUE(descriptors::isOpen(faults::lastWakeSocket()));
   for (int i = 0; i < kThreads; ++i)
      EXPECT_TRUE(sockShutdown());
   EXPECT_FALSE(sockShutdown());
   EXPECT_FALSE(descriptors::isOpen(faults::lastWakeSocket()));
}

TEST_F(SocketCalls, OpenGivesANewRecordWithANonBlockingSocketThatIsNotInherited)
{
   const platform::Socket descriptor = rec.sock;
   EXPECT_TRUE(descriptors::isNonBlocking(descriptor));
   EXPECT_TRUE(descriptors::isKeptFromChildren(descriptor));
   EXPECT_EQ(rec.reserved, 0);
   EXPECT_EQ(rec.hostAddress, 0u);
   EXPECT_EQ(rec.port, 0);
   EXPECT_EQ(rec.halfOpen, 0);
}

TEST_F(SocketCalls, OpenWithoutASocketToBeHadLeavesItInvalid)
{
   const faults::Refused none(faults::Wish::kSocket);
   SockRec other;
   sockOpen(&other);
   EXPECT_EQ(other.sock, platform::kInvalidSocket);
}

TEST_F(SocketCalls, OpenClosesASocketThatCannotBeMadeNonBlocking)
{
   const size_t before = descriptors::countOpen();
   const faults::Refused refused(faults::Wish::kNonBlocking);
   SockRec other;
   sockOpen(&other);
   EXPECT_EQ(other.sock, platform::kInvalidSocket);
   EXPECT_EQ(descriptors::countOpen(), before);
}

TEST_F(SocketCalls, CloseMarksTheRecordAndMayBeRepeated)
{
   const platform::Socket descriptor = rec.sock;
   sockClose(&rec);
   EXPECT_EQ(rec.sock, platform::kInvalidSocket);
   EXPECT_FALSE(descriptors::isOpen(descriptor));
   sockClose(&rec);
   EXPECT_EQ(rec.sock, platform::kInvalidSocket);
}

TEST_F(SocketCalls, ConnectKeepsWhereItWentTo)
{
   connectTo(Script().hold());
   EXPECT_EQ(rec.hostAddress, kLoopback);
   EXPECT_EQ(rec.port, peer->port());
}

TEST_F(SocketCalls, ConnectOnAClosedRecordOrToAddress0FailsAtOnce)
{
   EXPECT_FALSE(sockConnect(&rec, 0, 80, kLong));
   EXPECT_NE(rec.sock, platform::kInvalidSocket);
   EXPECT_EQ(rec.port, 0);
   sockClose(&rec);
   EXPECT_FALSE(sockConnect(&rec, kLoopback, 80, kLong));
   EXPECT_EQ(rec.port, 0);
}

TEST_F(SocketCalls, RefusedConnectionFailsThroughTheWaitAndClosesTheSocket)
{
   const LoopbackAddress nobody;
   const uint32_t address = sockResolve(nobody.text().c_str());
   faults::WatchedWaits waits;
   EXPECT_FALSE(sockConnect(&rec, address, 80, kLong));
   EXPECT_EQ(waits.limits(), std::vector<int>{kLong});
   EXPECT_EQ(rec.sock, platform::kInvalidSocket);
}

TEST_F(SocketCalls, ConnectThatFailsAtOnceLeavesTheSocketOpen)
{
   EXPECT_FALSE(sockConnect(&rec, kUnresolvedAddress, 80, kLong));
   EXPECT_NE(rec.sock, platform::kInvalidSocket);
}

TEST_F(SocketCalls, ConnectThatIsNotAnsweredEndsByItsTimeOutAndClosesTheSocket)
{
   peer.emplace(Listener::tcp("127.0.0.1"), Script().hold());
   faults::WatchedWaits waits;
   waits.timeOutFrom(0);
   EXPECT_FALSE(sockConnect(&rec, kLoopback, peer->port(), 5000));
   EXPECT_EQ(waits.limits(), std::vector<int>{5000});
   EXPECT_EQ(rec.sock, platform::kInvalidSocket);
}

TEST_F(SocketCalls, ReceiveCollectsUntilTheWholeLengthIsThere)
{
   connectTo(Script().trickle("abcdef").hold());
   char buffer[6];
   EXPECT_EQ(sockRecv(&rec, buffer, 6, kLong), 6);
   EXPECT_EQ(std::string(buffer, 6), "abcdef");
}

TEST_F(SocketCalls, ReceiveWithTimeOut0TakesOnlyWhatIsThereAtOnce)
{
   connectTo(Script().send("abc").hold());
   ASSERT_TRUE(sockWaitReadable(&rec, kLong));
   char buffer[10];
   EXPECT_EQ(sockRecv(&rec, buffer, 10, 0), 3);
   EXPECT_EQ(sockRecv(&rec, buffer, 10, 0), 0);
}

TEST_F(SocketCalls, ReceiveEndsShortAtTheEndOfTheData)
{
   connectTo(Script().send("abc"));
   char buffer[10];
   EXPECT_EQ(sockRecv(&rec, buffer, 10, -1), 3);
   EXPECT_EQ(sockRecv(&rec, buffer, 10, -1), 0);
}

TEST_F(SocketCalls, ReceiveEndsShortOnAReset)
{
   connectToThePeerThatResets();
   char byte = 0;
   EXPECT_EQ(sockRecv(&rec, &byte, 1, kLong), 0);
}

TEST_F(SocketCalls, NothingMovesOnAClosedRecordOrForALengthBelow1)
{
   connectTo(Script().send("abc").hold());
   char buffer[3] = {};
   EXPECT_EQ(sockRecv(&rec, buffer, 0, kLong), 0);
   EXPECT_EQ(sockRecv(&rec, buffer, -1, kLong), 0);
   EXPECT_EQ(sockSend(&rec, buffer, 0, kLong), 0);
   EXPECT_EQ(sockSend(&rec, buffer, INT_MIN, kLong), 0);
   sockClose(&rec);
   EXPECT_EQ(sockRecv(&rec, buffer, 3, kLong), 0);
   EXPECT_EQ(sockSend(&rec, buffer, 3, kLong), 0);
}

TEST_F(SocketCalls, LargeSendGoesOutWhole)
{
   const std::string large = std::string(3u << 20, 'x') + "!";
   connectTo(Script().receiveUntil("!").hold());
   EXPECT_TRUE(sockSendString(&rec, large.c_str(), kLong));
   ASSERT_TRUE(peer->waitForFrames(1));
   EXPECT_TRUE(peer->frames()[0] == large);
}

TEST_F(SocketCalls, SendEndsShortWhenTheTimeEnds)
{
   std::promise<void> done;
   connectTo(Script().call([&] { done.get_future().wait(); })); // reads nothing
   const std::string large(64u << 20, 'x');
   const int32_t sent = sockSend(&rec, large.data(), static_cast<int32_t>(large.size()), 50);
   EXPECT_GT(sent, 0);
   EXPECT_LT(sent, static_cast<int32_t>(large.size()));
   done.set_value();
}

TEST_F(SocketCalls, SendToAPeerThatHasResetEndsShort)
{
   connectToThePeerThatResets();
   ASSERT_TRUE(peer->waitUntilFinished(0));
   EXPECT_EQ(sockSend(&rec, "x", 1, kLong), 0);
   EXPECT_LT(platform::sendBytes(rec.sock, "x", 1), 1); // fetches the pending error
   EXPECT_LT(platform::sendBytes(rec.sock, "x", 1), 1);
}

TEST_F(SocketCalls, SendStringFailsForNullAndSucceedsForNothing)
{
   connectTo(Script().hold());
   EXPECT_FALSE(sockSendString(&rec, nullptr, kLong));
   EXPECT_TRUE(sockSendString(&rec, "", kLong));
}

// Each byte of a trickle is a transfer of its own, with a look at the ticks behind it.
TEST_F(SocketCalls, TimeRunsOnOverTheWrapOfTheTickCount)
{
   connectTo(Script().send("a").receiveUntil("!").send("b").hold());
   const faults::SteppedTicks ticks(0xFFFFFFF0, 0x20);
   const auto asked = std::async(std::launch::async, [&] {
      ASSERT_TRUE(peer->waitForConnections(1));
      EXPECT_EQ(platform::sendBytes(rec.sock, "!", 1), 1);
   });
   char buffer[2];
   EXPECT_EQ(sockRecv(&rec, buffer, 2, kLong), 2);
}

TEST_F(SocketCalls, TimeThatIsUsedUpOverTheWrapEndsTheTransfer)
{
   connectTo(Script().send("a").hold());
   ASSERT_TRUE(sockWaitReadable(&rec, kLong));
   const faults::SteppedTicks ticks(0xFFFFFFF0, 0x20);
   char buffer[2];
   EXPECT_EQ(sockRecv(&rec, buffer, 2, 0x1F), 1);
}

TEST_F(SocketCalls, DescriptorAbove1023Works)
{
   sockClose(&rec);
   EXPECT_TRUE(sockShutdown());
   const descriptors::LowOnesTaken taken;
   EXPECT_TRUE(sockInit()); // so the wake socket has a high number as well
   sockOpen(&rec);

   EXPECT_GT(rec.sock, 1023);
   connectTo(Script().receiveUntil("!").send("x").hold());
   EXPECT_TRUE(sockSendString(&rec, "!", kLong));
   char byte = 0;
   EXPECT_EQ(sockRecv(&rec, &byte, 1, kLong), 1);
   EXPECT_EQ(byte, 'x');
}

TEST(SocketResolve, EmptyAndNullAreThisMachine)
{
   EXPECT_EQ(sockResolve(nullptr), kLoopback);
   EXPECT_EQ(sockResolve(""), kLoopback);
}

TEST(SocketResolve, DottedTextIsNotLookedUp)
{
   const faults::NamelessNetwork network;
   EXPECT_EQ(sockResolve("1.2.3.4"), 0x01020304u);
   EXPECT_EQ(sockResolve("255.0.0.255"), 0xFF0000FFu);
   EXPECT_EQ(sockResolve("010.0.0.1"), 0x08000001u) << "eight, as inet_addr takes it";
   EXPECT_TRUE(network.asked().empty());
}

TEST(SocketResolve, TextThatOnlyBeginsAsAnAddressIsNone)
{
   const faults::NamelessNetwork network;
   EXPECT_EQ(sockResolve("1.2.3.4x"), kUnresolvedAddress);
   EXPECT_EQ(sockResolve(" 1.2.3.4"), kUnresolvedAddress);
   EXPECT_TRUE(network.asked().empty());
}

TEST(SocketResolve, EverythingElseIsAName)
{
   const std::vector<std::string> names = {
      "1.2.3.256", "1.2.3", "1.2.3.-4", "1.2.3.", "a.2.3.4", "4294967297.2.3.4", "host:3580", "-"};
   const faults::NamelessNetwork network;
   for (const std::string& name : names)
      EXPECT_EQ(sockResolve(name.c_str()), kUnresolvedAddress);
   EXPECT_EQ(network.asked(), names);
}

TEST(SocketResolve, NameGivesItsFirstAddress)
{
   EXPECT_EQ(sockResolve("localhost"), kLoopback);
}

TEST(SocketResolve, ManyThreadsMayResolveAtOnce)
{
   std::vector<std::future<bool>> threads;
   for (int i = 0; i < 4; ++i)
      threads.push_back(std::async(std::launch::async, [] {
         bool same = true;
         for (int round = 0; round < 50; ++round)
            same = sockResolve("localhost") == kLoopback && same;
         return same;
      }));
   for (auto& thread : threads)
      EXPECT_TRUE(thread.get());
}

TEST_F(SocketCalls, ReadLineEndsAtLfAndDropsEveryCr)
{
   connectTo(Script().send("one\n\r\rt\rwo\r\n\n").hold());
   char line[16];
   ASSERT_TRUE(sockReadLine(&rec, line, sizeof(line), kLong));
   EXPECT_STREQ(line, "one");
   ASSERT_TRUE(sockReadLine(&rec, line, sizeof(line), kLong));
   EXPECT_STREQ(line, "two");
   ASSERT_TRUE(sockReadLine(&rec, line, sizeof(line), kLong));
   EXPECT_STREQ(line, "");
}

TEST_F(SocketCalls, ReadLineWithoutABufferOrWithASizeBelow2FailsWithoutReading)
{
   connectTo(Script().send("\n").hold());
   char line[2];
   EXPECT_FALSE(sockReadLine(&rec, nullptr, 16, kLong));
   EXPECT_FALSE(sockReadLine(&rec, line, 1, kLong));
   EXPECT_FALSE(sockReadLine(&rec, line, -5, kLong));
   ASSERT_TRUE(sockReadLine(&rec, line, 2, kLong));
   EXPECT_STREQ(line, "");
}

TEST_F(SocketCalls, ReadLineHoldsTwoCharactersFewerThanItsBuffer)
{
   connectTo(Script().send("ab\nabc\n").hold());
   char line[4];
   ASSERT_TRUE(sockReadLine(&rec, line, sizeof(line), kLong));
   EXPECT_STREQ(line, "ab");
   EXPECT_FALSE(sockReadLine(&rec, line, sizeof(line), kLong)) << "although an LF comes next";
   char next = 0;
   EXPECT_EQ(sockRecv(&rec, &next, 1, kLong), 1);
   EXPECT_EQ(next, '\n');
}

TEST_F(SocketCalls, CrDoesNotCountForTheLengthOfALine)
{
   connectTo(Script().send("a\r\r\r\r\r\rb\n").hold());
   char line[4];
   ASSERT_TRUE(sockReadLine(&rec, line, sizeof(line), kLong));
   EXPECT_STREQ(line, "ab");
}

TEST_F(SocketCalls, ReadLineFailsAtTheEndOfTheDataInsideALine)
{
   connectTo(Script().send("abc"));
   char line[16];
   EXPECT_FALSE(sockReadLine(&rec, line, sizeof(line), kLong));
}

TEST_F(SocketCalls, TimeOutOfALineIsThatOfEachByte)
{
   connectTo(Script().trickle("abcde\n").hold());
   const faults::SteppedTicks ticks(0, 700);
   char line[16];
   ASSERT_TRUE(sockReadLine(&rec, line, sizeof(line), 1000));
   EXPECT_STREQ(line, "abcde");
}

TEST_F(SocketCalls, GracefulCloseWithoutDrainDoesNotWait)
{
   connectTo(Script().hold());
   faults::WatchedWaits waits;
   sockGracefulClose(&rec, false);
   EXPECT_EQ(rec.sock, platform::kInvalidSocket);
   EXPECT_TRUE(waits.limits().empty());
}

TEST_F(SocketCalls, DrainReadsUntilThePeerCloses)
{
   std::atomic<bool> closing = false;
   connectTo(Script().send(std::string(1000, 'x')).call([&] { closing = true; }).close());
   sockGracefulClose(&rec, true);
   EXPECT_TRUE(closing);
   EXPECT_EQ(rec.sock, platform::kInvalidSocket);
}

TEST_F(SocketCalls, DrainGivesEachByte60Seconds)
{
   connectTo(Script().send("ab").hold());
   ASSERT_TRUE(sockWaitReadable(&rec, kLong));
   faults::WatchedWaits waits;
   waits.timeOutFrom(2);
   sockGracefulClose(&rec, true);
   EXPECT_EQ(waits.limits(), (std::vector<int>{60000, 60000, 60000}));
}

TEST_F(SocketCalls, PlainGracefulCloseNeverShutsDownTheSendingSideFirst)
{
   connectTo(Script().send("x").hold());
   ASSERT_TRUE(sockWaitReadable(&rec, kLong));
   faults::WatchedWaits waits;
   waits.timeOutFrom(1);
   sockGracefulClose(&rec, true); // with the byte unread it would reset the connection
   ASSERT_TRUE(peer->waitUntilFinished(0));
   EXPECT_EQ(peer->record(0).end, test::StreamEnd::kClosed);
   EXPECT_EQ(rec.halfOpen, 0);
}

TEST_F(SocketCalls, HalfOpenRecordShutsDownItsSendingSide)
{
   connectTo(Script().receiveUntil("never"));
   rec.halfOpen = 1;
   sockGracefulClose(&rec, true); // the peer closes as it sees the end of the data
   EXPECT_EQ(rec.halfOpen, 0);
   ASSERT_TRUE(peer->waitUntilFinished(0));
   EXPECT_EQ(peer->record(0).end, test::StreamEnd::kClosed);
}

TEST_F(SocketCalls, GracefulCloseOfAClosedRecordDoesNothing)
{
   sockClose(&rec);
   rec.halfOpen = 1;
   sockGracefulClose(&rec, true);
   EXPECT_EQ(rec.halfOpen, 1);
}

} // namespace
