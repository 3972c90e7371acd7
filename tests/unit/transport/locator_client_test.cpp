#include "transport/locator_client.h"

#include "service/locator_peer.h"
#include "service/loopback_address.h"
#include "support/failing_malloc.h"
#include "transport/socket_calls.h"
#include "unit/transport/descriptors.h"
#include "unit/transport/system_faults.h"

#include <cstdlib>
#include <future>
#include <gtest/gtest.h>
#include <memory>

namespace {

using namespace zerova;
using test::LocatorPeer;
using test::Script;

constexpr const char* kPath = "Trevanta/Zerova";
constexpr const char* kHost = "127.0.0.1";

class Locator : public testing::Test
{
protected:
   Locator() { EXPECT_TRUE(sockInit()); }
   ~Locator() override { EXPECT_TRUE(sockShutdown()); }

   // What a locator is asked, and the port that is made of its reply.
   int portFrom(const std::string& reply)
   {
      const LocatorPeer locator(kHost, reply, 0);
      return queryServiceLocation(kHost, locator.port(), kPath, &contacted);
   }

   std::string requestFor(const char* path)
   {
      LocatorPeer locator(kHost, "Port=1\n", 0);
      EXPECT_EQ(queryServiceLocation(kHost, locator.port(), path, nullptr), 1);
      return locator.requests().at(0);
   }

   uint8_t contacted = 77;
};

TEST_F(Locator, RequestIsTheEscapedPathWithoutASlashInFrontAndNoHeader)
{
   EXPECT_EQ(requestFor(kPath), "GET Trevanta%2FZerova HTTP/1.0\r\n\r\n");
}

TEST_F(Locator, LeadingSlashOfAPathIsDropped)
{
   EXPECT_EQ(requestFor("/Trevanta/Zerova"), requestFor(kPath));
}

TEST_F(Locator, OnlyOneLeadingSlashIsDropped)
{
   EXPECT_EQ(requestFor("//a"), "GET %2Fa HTTP/1.0\r\n\r\n");
}

TEST_F(Locator, EmptyPathIsAskedForAsItIs)
{
   EXPECT_EQ(requestFor(""), "GET  HTTP/1.0\r\n\r\n");
}

TEST_F(Locator, ReplyOfOneLineNeedsNoStatusLine)
{
   EXPECT_EQ(portFrom("Port=1234\n"), 1234);
   EXPECT_EQ(contacted, 1);
}

TEST_F(Locator, CrBehindANumberIsDropped)
{
   EXPECT_EQ(portFrom("Port=1234\r\n"), 1234);
}

TEST_F(Locator, MappingIsCutTo16Bits)
{
   EXPECT_EQ(portFrom("Mapping=70000\r\n"), 4464);
}

TEST_F(Locator, PortIsCutTo16Bits)
{
   EXPECT_EQ(portFrom("Port=70000\r\n"), 4464);
   EXPECT_EQ(portFrom("Port=65536\r\n"), 0);
}

TEST_F(Locator, NumberIsReadAsAtoiReadsIt)
{
   EXPECT_EQ(portFrom("Port= \t+12abc\n"), 12);
   EXPECT_EQ(portFrom("Port=-1\n"), 65535);
   EXPECT_EQ(portFrom("Port=0x10\n"), 0);
   EXPECT_EQ(portFrom("Port=4294968530\n"), 1234);
   EXPECT_EQ(portFrom("Port=99999999999999999999999999\n"), 65535);
   EXPECT_EQ(portFrom("Mapping=-99999999999999999999999999\n"), 0);
}

TEST_F(Locator, StatusLineAndHeadersAreLinesLikeAnyOther)
{
   EXPECT_EQ(portFrom("HTTP/1.0 500 No\r\nContent-Length: 9\r\n\r\nMapping=4711\r\n"), 4711);
   EXPECT_EQ(portFrom("Port=1\r\n\r\nMapping=2\r\n"), 1);
}

TEST_F(Locator, FirstLineWithAKeyDecides)
{
   EXPECT_EQ(portFrom("Port=1\nMapping=2\n"), 1);
   EXPECT_EQ(portFrom("Mapping=2\nPort=1\n"), 2);
   EXPECT_EQ(portFrom("Port=\nPort=1\n"), 0) << "a key without a number is no port, but decides";
}

TEST_F(Locator, KeyCountsOnlyAtTheStartOfALine)
{
   EXPECT_EQ(portFrom("xPort=1234\n"), 0);
   EXPECT_EQ(portFrom(" Port=1234\nthe Mapping=5 of it\n"), 0);
   EXPECT_EQ(portFrom("Port = 1234\nport=1234\nMAPPING=1\n"), 0);
   EXPECT_EQ(contacted, 1);
}

TEST_F(Locator, ReplyWithoutALineEndHasNoLine)
{
   EXPECT_EQ(portFrom("Port=1234"), 0);
   EXPECT_EQ(portFrom(""), 0);
   EXPECT_EQ(contacted, 1);
}

TEST_F(Locator, LineOf1022CharactersIsReadOverAndOneOf1023FailsTheLookUp)
{
   EXPECT_EQ(portFrom(std::string(1022, 'x') + "\r\nPort=1234\r\n"), 1234);
   EXPECT_EQ(portFrom(std::string(1023, 'x') + "\r\nPort=1234\r\n"), 0);
}

TEST_F(Locator, ReplyMayTrickle)
{
   const LocatorPeer locator(
      kHost, Script().receiveUntil("\r\n\r\n").trickle("HTTP/1.0 200 OK\r\n\r\nPort=1234\r\n"), 0);
   EXPECT_EQ(queryServiceLocation(kHost, locator.port(), kPath, nullptr), 1234);
}

TEST_F(Locator, CallerWaitsUntilTheLocatorCloses)
{
   std::atomic<bool> closing = false;
   const LocatorPeer locator(kHost,
                             Script()
                                .receiveUntil("\r\n\r\n")
                                .send("Port=1234\r\n")
                                .send(std::string(5000, 'x'))
                                .call([&] { closing = true; })
                                .close(),
                             0);
   EXPECT_EQ(queryServiceLocation(kHost, locator.port(), kPath, nullptr), 1234);
   EXPECT_TRUE(closing);
}

TEST_F(Locator, EachStepHasItsTimeLimit)
{
   const LocatorPeer locator(kHost, Script().receiveUntil("\r\n\r\n").hold(), 0);
   faults::WatchedWaits waits;
   waits.timeOutFrom(2); // the connect and the request go through
   EXPECT_EQ(queryServiceLocation(kHost, locator.port(), kPath, &contacted), 0);
   EXPECT_EQ(waits.limits(), (std::vector<int>{5000, 5000, 5000, 60000}));
   EXPECT_EQ(contacted, 1);
}

// A limit for the line or for the whole reply would leave later bytes less, as the ticks run on.
TEST_F(Locator, EachByteOfAReplyHasTheWholeTimeLimitAgain)
{
   const std::string reply = "HTTP/1.0 200 OK\r\n\r\nPort=1234\r\n";
   const LocatorPeer locator(kHost, Script().receiveUntil("\r\n\r\n").trickle(reply), 0);
   const faults::SteppedTicks ticks(0, 4000);
   const faults::WatchedWaits waits;
   EXPECT_EQ(queryServiceLocation(kHost, locator.port(), kPath, nullptr), 1234);
   std::vector<int> limits(2 + reply.size(), 5000); // the connect, the request, each byte
   limits.push_back(60000);                         // the end of the connection
   EXPECT_EQ(waits.limits(), limits);
}

TEST_F(Locator, StayingOpenAfterTheAnswerCosts60SecondsOnce)
{
   const LocatorPeer locator(kHost, Script().receiveUntil("\r\n\r\n").send("Port=7\n").hold(), 0);
   faults::WatchedWaits waits;
   waits.timeOutFrom(9); // behind the connect, the request and the seven bytes
   EXPECT_EQ(queryServiceLocation(kHost, locator.port(), kPath, nullptr), 7);
   std::vector<int> limits(9, 5000);
   limits.push_back(60000);
   EXPECT_EQ(waits.limits(), limits);
}

TEST_F(Locator, EachByteBehindTheAnswerIsWaitedForAnother60Seconds)
{
   const LocatorPeer locator(kHost, Script().receiveUntil("\r\n\r\n").send("Port=7\nab").hold(), 0);
   const faults::SteppedTicks ticks(0, 59000);
   faults::WatchedWaits waits;
   waits.timeOutFrom(11);
   EXPECT_EQ(queryServiceLocation(kHost, locator.port(), kPath, nullptr), 7);
   std::vector<int> limits(9, 5000);
   limits.insert(limits.end(), {60000, 60000, 60000});
   EXPECT_EQ(waits.limits(), limits);
}

TEST_F(Locator, AddressNeedsNoResolver)
{
   const LocatorPeer locator(kHost, "Port=1\n", 0);
   const faults::NamelessNetwork network;
   EXPECT_EQ(queryServiceLocation(kHost, locator.port(), kPath, nullptr), 1);
   EXPECT_TRUE(network.asked().empty());
}

TEST_F(Locator, RequestThatCannotBeSentFailsAndIsNoContact)
{
   const LocatorPeer locator(kHost, Script().hold(), 0);
   faults::WatchedWaits waits;
   waits.timeOutFrom(1);
   EXPECT_EQ(queryServiceLocation(kHost, locator.port(), kPath, &contacted), 0);
   EXPECT_EQ(waits.limits(), (std::vector<int>{5000, 5000, 60000})) << "drained all the same";
   EXPECT_EQ(contacted, 0);
}

TEST_F(Locator, ResetConnectionGivesNoPort)
{
   const LocatorPeer locator(kHost, Script().receiveUntil("\r\n\r\n").send("Po").reset(), 0);
   EXPECT_EQ(queryServiceLocation(kHost, locator.port(), kPath, nullptr), 0);
}

TEST_F(Locator, NobodyAtThePortIsNoContact)
{
   const test::LoopbackAddress nobody;
   EXPECT_EQ(queryServiceLocation(nobody.text().c_str(), 80, kPath, &contacted), 0);
   EXPECT_EQ(contacted, 0);
}

TEST_F(Locator, UnknownHostIsNoContact)
{
   const faults::NamelessNetwork network;
   EXPECT_EQ(queryServiceLocation("nowhere", 80, kPath, &contacted), 0);
   EXPECT_EQ(contacted, 0);
}

TEST_F(Locator, NullPathAsksNobody)
{
   const LocatorPeer locator(kHost, "Port=1\n", 0);
   EXPECT_EQ(queryServiceLocation(kHost, locator.port(), nullptr, &contacted), 0);
   EXPECT_EQ(contacted, 0);
   EXPECT_EQ(queryServiceLocation(kHost, locator.port(), nullptr, nullptr), 0);
   EXPECT_TRUE(locator.requests().empty());
}

TEST_F(Locator, EmptyHostIsThisMachine)
{
   const LocatorPeer locator(kHost, "Port=1234\n", 0);
   EXPECT_EQ(queryServiceLocation("", locator.port(), kPath, nullptr), 1234);
   EXPECT_EQ(queryServiceLocation(nullptr, locator.port(), kPath, nullptr), 1234);
}

TEST_F(Locator, UsualPortIs3580)
{
   const test::LoopbackAddress host;
   const LocatorPeer locator(host.text(), "Mapping=1234\n");
   EXPECT_EQ(locator.port(), 3580);
   EXPECT_EQ(lookupServicePort(host.text().c_str(), kPath), 1234);
}

TEST_F(Locator, LackOfMemoryGivesNoPortAndAsksNobody)
{
   const LocatorPeer locator(kHost, "Port=1234\n", 0);
   for (const size_t allocation : {0u, 1u}) { // the escaped path, the request
      int port = 1;
      bool failed = false;
      {
         const FailingMalloc failing(allocation);
         port = queryServiceLocation(kHost, locator.port(), kPath, &contacted);
         failed = failing.hasFailed();
      }
      EXPECT_TRUE(failed);
      EXPECT_EQ(port, 0);
      EXPECT_EQ(contacted, 0);
   }
   EXPECT_TRUE(locator.requests().empty());
}

TEST_F(Locator, LookUpLeavesNothingOpen)
{
   const LocatorPeer locator(kHost, Script().receiveUntil("\r\n\r\n").send("Port=1\n"), 0);
   const test::LoopbackAddress nobody;
   const size_t before = descriptors::countOpen();
   queryServiceLocation(nobody.text().c_str(), 80, kPath, nullptr);
   queryServiceLocation(kHost, locator.port(), nullptr, nullptr);
   EXPECT_EQ(descriptors::countOpen(), before);
}

TEST_F(Locator, ManyThreadsMayAskAtOnce)
{
   const LocatorPeer locator(kHost, "Port=1234\n", 0);
   std::vector<std::future<int>> threads;
   for (int i = 0; i < 8; ++i)
      threads.push_back(std::async(std::launch::async, [&] {
         return queryServiceLocation("localhost", locator.port(), kPath, nullptr);
      }));
   for (auto& thread : threads)
      EXPECT_EQ(thread.get(), 1234);
}

std::string escaped(const char* text)
{
   const std::unique_ptr<char, decltype(&std::free)> copy(urlEscapeAlloc(text), std::free);
   return copy.get();
}

TEST(UrlEscape, LettersAndDigitsStay)
{
   EXPECT_EQ(escaped("azAZ09"), "azAZ09");
   EXPECT_EQ(escaped(""), "");
}

TEST(UrlEscape, AllOthersBecomeThreeCharacters)
{
   EXPECT_EQ(escaped("a b/c"), "a%20b%2Fc");
   EXPECT_EQ(escaped("@[`{~_-.\n"), "%40%5B%60%7B%7E%5F%2D%2E%0A");
}

TEST(UrlEscape, ByteAbove7BitsGivesADigitThatIsNone)
{
   EXPECT_EQ(escaped("\xE9"), "%>9");
}

TEST(UrlEscape, NullGivesNull)
{
   EXPECT_EQ(urlEscapeAlloc(nullptr), nullptr);
}

TEST(UrlEscape, BufferOfTheCallerGetsTheSameTextAndItsEnd)
{
   char out[8] = "xxxxxxx";
   urlEscapeInto("a/b", out);
   EXPECT_STREQ(out, "a%2Fb");
}

} // namespace
