#include "service/raw_peer.h"

#include "client.h"
#include "service/loopback_address.h"
#include "service/wire_bytes.h"

#include <gmock/gmock.h>

#include <future>

namespace zerova::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const std::string kHello = WireBytes().raw("hello").frame();
const std::string kAgain = WireBytes().raw("again").frame();

// One peer on a local endpoint of its own, and a client of it.
struct Pair
{
   explicit Pair(Script script)
      : peer(Listener::local(name), std::move(script))
   {
   }

   std::string name = ownEndpointName();
   RawPeer peer;
   Stream client = Stream::connectLocal(name);
};

TEST(RawPeer, KeepsEachFrameByteForByte)
{
   Pair pair(Script().receive().receive().hold());
   ASSERT_TRUE(writeAll(pair.client, kHello + kAgain + "rest"));
   pair.client.close();
   ASSERT_TRUE(pair.peer.waitUntilFinished(0));
   const PeerRecord record = pair.peer.record(0);
   EXPECT_THAT(record.frames, ElementsAre(kHello, kAgain));
   EXPECT_EQ(record.rest, "rest");
   EXPECT_EQ(record.end, StreamEnd::kClosed);
}

TEST(RawPeer, TakesAFrameThatComesByteByByte)
{
   Pair pair(Script().receive().send("ok"));
   for (const char byte : kHello)
      ASSERT_TRUE(writeAll(pair.client, std::string(1, byte)));
   EXPECT_EQ(readToEnd(pair.client), "ok");
   EXPECT_THAT(pair.peer.frames(), ElementsAre(kHello));
}

TEST(RawPeer, TakesAFrameOfLengthZero)
{
   Pair pair(Script().receive().receive());
   ASSERT_TRUE(writeAll(pair.client, std::string(4, '\0') + kHello));
   ASSERT_TRUE(pair.peer.waitForFrames(2));
   EXPECT_THAT(pair.peer.frames(), ElementsAre(std::string(4, '\0'), kHello));
}

TEST(RawPeer, SendsWholeBytesAndCloses)
{
   Pair pair(Script().receive().send("first ").send("second"));
   ASSERT_TRUE(writeAll(pair.client, kHello));
   EXPECT_EQ(readToEnd(pair.client), "first second");
   EXPECT_EQ(pair.client.end(), StreamEnd::kClosed);
}

TEST(RawPeer, CutsAfterTheGivenCount)
{
   for (const std::size_t count : {0U, 1U, 5U, 6U, 7U}) {
      Pair pair(Script().send("answer", count));
      EXPECT_EQ(readToEnd(pair.client), std::string("answer").substr(0, count));
   }
}

TEST(RawPeer, TricklesEveryByte)
{
   const std::string bytes = "one byte at a time";
   Pair pair(Script().trickle(bytes));
   EXPECT_EQ(readToEnd(pair.client), bytes);
}

TEST(RawPeer, SendsMoreThanTheSocketHolds)
{
   const std::string bytes(8U << 20, 'x');
   Pair pair(Script().send(bytes));
   EXPECT_EQ(readToEnd(pair.client), bytes);
}

TEST(RawPeer, AcceptsVersionByItself)
{
   Pair pair(Script().acceptVersion().hold());
   const std::string call = WireBytes().message(wire::kCall, "version").stop().frame();
   ASSERT_TRUE(writeAll(pair.client, call));
   const std::string reply = voidReply("version");
   EXPECT_EQ(readUpTo(pair.client, reply.size()), reply);
   EXPECT_THAT(pair.peer.frames(), ElementsAre(call));
}

TEST(RawPeer, AnswersEachFrameUntilTheClientEnds)
{
   Pair pair(Script().answerAll([](const std::string& frame) { return frame; }));
   ASSERT_TRUE(writeAll(pair.client, kHello));
   EXPECT_EQ(readUpTo(pair.client, kHello.size()), kHello);
   ASSERT_TRUE(writeAll(pair.client, kAgain));
   EXPECT_EQ(readUpTo(pair.client, kAgain.size()), kAgain);
   pair.client.close();
   ASSERT_TRUE(pair.peer.waitUntilFinished(0));
   EXPECT_EQ(pair.peer.record(0).end, StreamEnd::kClosed);
}

TEST(RawPeer, CallsBetweenTwoSteps)
{
   std::promise<void> received;
   Pair pair(Script().receive().call([&] { received.set_value(); }).send("after"));
   ASSERT_TRUE(writeAll(pair.client, kHello));
   received.get_future().wait();
   EXPECT_EQ(readToEnd(pair.client), "after");
}

TEST(RawPeer, ResetsATcpConnection)
{
   const LoopbackAddress address;
   RawPeer peer(Listener::tcp(address.text()), Script().receive().reset());
   Stream client = Stream::connectTcp(address.text(), peer.port());
   ASSERT_TRUE(writeAll(client, kHello));
   EXPECT_EQ(readToEnd(client), "");
   EXPECT_EQ(client.end(), StreamEnd::kReset);
}

TEST(RawPeer, EndsAHeldConnectionWhenItIsDestroyed)
{
   auto pair = std::make_unique<Pair>(Script().hold());
   Stream client = std::move(pair->client);
   ASSERT_TRUE(pair->peer.waitForConnections(1));
   pair.reset();
   EXPECT_EQ(readToEnd(client), "");
}

TEST(RawPeer, DoesNotPlayOnAfterTheClientHasGone)
{
   bool called = false;
   Pair pair(Script().receive().call([&] { called = true; }));
   ASSERT_TRUE(writeAll(pair.client, kHello.substr(0, 6)));
   pair.client.close();
   ASSERT_TRUE(pair.peer.waitUntilFinished(0));
   EXPECT_FALSE(called);
   EXPECT_THAT(pair.peer.frames(), IsEmpty());
   EXPECT_EQ(pair.peer.record(0).rest, kHello.substr(0, 6));
}

TEST(RawPeer, GivesEachConnectionItsScriptAndRepeatsTheLast)
{
   const std::string name = ownEndpointName();
   RawPeer peer(Listener::local(name), {Script().send("first"), Script().send("later")});
   std::vector<std::string> answers;
   for (int i = 0; i < 3; ++i) {
      Stream client = Stream::connectLocal(name);
      answers.push_back(readToEnd(client));
   }
   EXPECT_THAT(answers, ElementsAre("first", "later", "later"));
   peer.play(Script().send("changed"));
   Stream client = Stream::connectLocal(name);
   EXPECT_EQ(readToEnd(client), "changed");
   EXPECT_EQ(peer.connectionCount(), 4U);
}

TEST(RawPeer, ServesConnectionsAtOnce)
{
   const std::string name = ownEndpointName();
   RawPeer peer(Listener::local(name), Script().receive().send("done"));
   Stream slow = Stream::connectLocal(name);
   ASSERT_TRUE(peer.waitForConnections(1));
   Stream quick = Stream::connectLocal(name);
   ASSERT_TRUE(writeAll(quick, kHello));
   EXPECT_EQ(readToEnd(quick), "done");
   ASSERT_TRUE(writeAll(slow, kHello));
   EXPECT_EQ(readToEnd(slow), "done");
}

} // namespace
} // namespace zerova::test
