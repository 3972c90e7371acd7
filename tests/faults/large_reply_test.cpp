// Replies that are larger than the memory there is, and larger than any reply may be.
#include "faults/endpoint_peer.h"
#include "faults/fixed_status.h"
#include "service/wire_bytes.h"
#include "support/heap_watch.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>

namespace {

using namespace zerova::test;
using testing::EndsWith;
using testing::HasSubstr;

constexpr std::size_t kMemory = 8u << 20;
constexpr std::size_t kLarge = 14u << 20;

// What a service does that tells how many calls have come, and whose first answer is another's.
Script counting(std::string first)
{
   return Script()
      .acceptVersion()
      .answer([first = std::move(first)](const std::string&) { return first; })
      .answerAll([calls = 1](const std::string& frame) mutable {
         return i32Reply(methodOf(frame), ++calls);
      });
}

class LargeReply : public testing::TestWithParam<Endpoint>
{
protected:
   ~LargeReply() override { zerovaapi_destroySession(session); }

   void begin(std::string firstAnswer)
   {
      peer = std::make_unique<EndpointPeer>(GetParam(),
                                            std::vector<Script>{counting(std::move(firstAnswer))});
      FixedStatus status;
      session = peer->connect(status);
      if (!session) throw std::runtime_error(status.text());
   }

   // The count, asked with little memory.
   int32_t count(quelerr_Status* status) const
   {
      HeapWatch watch;
      watch.failAbove(kMemory);
      return zerovaapi_getSystemChangeNumber(session, status);
   }

   void expectThatItCounts() const
   {
      for (const int32_t expected : {2, 3}) {
         FixedStatus status;
         EXPECT_EQ(count(status), expected);
         EXPECT_EQ(status.code(), 0) << status.text();
      }
   }

   void expectThatItIsClosed() const
   {
      const std::string text = GetParam() == Endpoint::local ? "Called write on non-open pipe"
                                                             : "Called write on non-open socket";
      for (int i = 0; i < 2; ++i) {
         FixedStatus status;
         EXPECT_EQ(count(status), 0);
         EXPECT_EQ(status.code(), -52024);
         EXPECT_THAT(status.text(),
                     EndsWith(R"("Thrift::TTransportException":")" + text + R"("})"));
      }
      EXPECT_TRUE(peer->service().waitUntilFinished(0)) << "the service learns of it";
   }

   std::unique_ptr<EndpointPeer> peer;
   zerovaapi_Session session = nullptr;
};

INSTANTIATE_TEST_SUITE_P(All, LargeReply, testing::Values(Endpoint::local, Endpoint::tcp),
                         [](const auto& each) { return nameOf(each.param); });

TEST_P(LargeReply, ThatIsAStrayOneClosesTheConnectionSoThatNoAnswerIsTakenForAnother)
{
   begin(textListReply("another", {std::string(kLarge, 's')}) +
         i32Reply("getSystemChangeNumber", 1));
   FixedStatus status;
   EXPECT_EQ(count(status), 0);
   EXPECT_EQ(status.code(), -52000) << status.text();
   expectThatItIsClosed();
}

TEST_P(LargeReply, ToTheCallItselfIsReadAwayAndTheSessionGoesOn)
{
   begin(statusReply("getSystemChangeNumber", -77, std::string(kLarge, 'J')));
   FixedStatus status;
   EXPECT_EQ(count(status), 0);
   EXPECT_EQ(status.code(), -52000) << status.text();
   expectThatItCounts();
}

TEST_P(LargeReply, WhoseTextGoesOnInFurtherFramesClosesTheConnection)
{
   const std::string whole =
      statusReply("getSystemChangeNumber", -77, std::string(kLarge, 'J')).substr(4);
   std::string frames;
   for (std::size_t at = 0; at < whole.size(); at += kMemory / 2)
      frames += WireBytes().raw(whole.substr(at, kMemory / 2)).frame();
   begin(frames);
   FixedStatus status;
   EXPECT_EQ(count(status), 0);
   EXPECT_EQ(status.code(), -52000) << status.text();
   expectThatItIsClosed();
}

// A list that nobody asked for, as large as a frame can hold it.
WireBytes& unknownList(WireBytes& out)
{
   constexpr uint8_t kDouble = 4;
   constexpr std::int32_t kCount = 2000000;
   return out.field(wire::kList, 99).listHeader(kDouble, kCount).raw(std::string(8 * kCount, '\0'));
}

TEST_P(LargeReply, AboveTheLargestMessageIsRefusedWithoutBeingKept)
{
   WireBytes first;
   first.message(wire::kReply, "getSystemChangeNumber");
   std::string frames = unknownList(first).frame();
   WireBytes further;
   const std::string frame = unknownList(further).frame();
   while (frames.size() + frame.size() <= 104857600)
      frames += frame;
   begin(frames + frame + WireBytes().i32Field(0, 1).stop().frame());
   FixedStatus status;
   std::size_t peak = 0;
   int32_t answer = 0;
   {
      const HeapWatch watch;
      answer = zerovaapi_getSystemChangeNumber(session, status);
      peak = watch.peak();
   }
   EXPECT_EQ(answer, 0);
   EXPECT_EQ(status.code(), -52024);
   EXPECT_THAT(status.text(), HasSubstr(R"("MaxMessageSize reached")"));
   EXPECT_LT(peak, 3 * frame.size());
}

} // namespace
