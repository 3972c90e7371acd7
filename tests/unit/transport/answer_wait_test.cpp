#include "transport/answer_wait.h"

#include <algorithm>
#include <gtest/gtest.h>

namespace {

using zerova::AnswerWait;

constexpr int64_t kSentIn = 2'000;
constexpr int64_t kLook = 500;

// A session on a machine where time passes only as told.
class Session final : public zerova::AnswerWatch
{
public:
   // soonAsleep, soonPolled: how long after the request the answer is there for who sleeps and for
   // who polls.
   Session(int64_t asleep, int64_t polled)
      : asleep_(asleep)
      , polled_(polled)
   {
   }

   // True when the call has not slept.
   bool call()
   {
      sent_ = now_;
      wait_.ask(*this);
      now_ += kSentIn;
      receive();
      return hasPolled_;
   }

   // What is received behind another answer, with no request in front of it.
   void receive()
   {
      hasPolled_ = false;
      looks_ = 0;
      wait_.begin(*this);
      if (!hasPolled_) now_ = std::max(now_, sent_ + asleep_);
      wait_.end(*this);
   }

   // A request, behind which the connection fails after a while.
   void askInVain(int64_t time)
   {
      wait_.ask(*this);
      wait_.begin(*this);
      now_ += time;
   }

   int callsUntil(bool isPolled)
   {
      int calls = 1;
      while (call() != isPolled)
         ++calls;
      return calls;
   }

   void answerAfter(int64_t asleep, int64_t polled)
   {
      asleep_ = asleep;
      polled_ = polled;
   }

   // What a yield takes: other threads run meanwhile.
   void yieldFor(int64_t time) { yield_ = time; }

   int looks() const { return looks_; }
   int yields() const { return yields_; }
   int clockReads() const { return clockReads_; }
   int64_t lastCall() const { return now_ - sent_; }

   bool hasCome() override
   {
      now_ += kLook;
      ++looks_;
      hasPolled_ = now_ - sent_ >= polled_;
      return hasPolled_;
   }
   void yield() override
   {
      ++yields_;
      now_ += yield_;
   }
   int64_t now() override
   {
      ++clockReads_;
      return now_;
   }

private:
   AnswerWait wait_;
   int64_t asleep_;
   int64_t polled_;
   int64_t now_ = 1'000'000'000;
   int64_t sent_ = 0;
   int64_t yield_ = 0;
   int looks_ = 0;
   int yields_ = 0;
   int clockReads_ = 0;
   bool hasPolled_ = false;
};

Session onTwoCores()
{
   return {30'000, 15'000};
}

void call(Session& session, int times)
{
   for (int i = 0; i < times; ++i)
      session.call();
}

constexpr int kSoon = static_cast<int>(AnswerWait::kSoonInRow);
constexpr int kShortestRest = static_cast<int>(AnswerWait::kShortestRest);
constexpr int kLongestRest = static_cast<int>(AnswerWait::kLongestRest);

TEST(AnswerWait, SleepsUntilEnoughAnswersHaveComeSoon)
{
   Session session = onTwoCores();
   EXPECT_EQ(session.callsUntil(true), kSoon + 1);
}

TEST(AnswerWait, PollsForAsLongAsAnswersComeSoon)
{
   Session session = onTwoCores();
   session.callsUntil(true);
   for (uint32_t i = 1; i < AnswerWait::kMostPolls; ++i)
      ASSERT_TRUE(session.call()) << i;
   EXPECT_EQ(session.lastCall(), 15'000);
}

TEST(AnswerWait, YieldsBehindTheFirstLookAndThenNowAndThen)
{
   Session session = onTwoCores();
   session.callsUntil(true);
   EXPECT_EQ(session.looks(), (15'000 - kSentIn) / kLook);
   EXPECT_EQ(session.yields(), session.looks() / static_cast<int>(AnswerWait::kLooksOfAYield) + 1);
}

TEST(AnswerWait, PollEndsWhenAnotherThreadHasHadTheCore)
{
   Session session = onTwoCores();
   session.callsUntil(true);
   session.yieldFor(AnswerWait::kLateLook);
   EXPECT_FALSE(session.call());
   EXPECT_EQ(session.looks(), 1);
   session.yieldFor(0);
   EXPECT_EQ(session.callsUntil(true), kShortestRest + kSoon + 1);
}

TEST(AnswerWait, LooksForNothingWhereItSleeps)
{
   Session session = onTwoCores();
   call(session, kSoon);
   EXPECT_EQ(session.yields(), 0);
   EXPECT_EQ(session.looks(), 0);
}

TEST(AnswerWait, SlowAnswersAreNeverPolledFor)
{
   Session session(AnswerWait::kSoon + 1, AnswerWait::kSoon + 1);
   for (int i = 0; i < 10 * kLongestRest; ++i)
      ASSERT_FALSE(session.call()) << i;
   EXPECT_EQ(session.yields(), 0);
}

TEST(AnswerWait, OneSlowAnswerBeginsTheCountAnew)
{
   Session session = onTwoCores();
   call(session, kSoon - 1);
   session.answerAfter(2'000'000, 2'000'000);
   session.call();
   session.answerAfter(30'000, 15'000);
   EXPECT_EQ(session.callsUntil(true), kSoon + 1);
}

TEST(AnswerWait, PollEndsWhenItHasLastedLongEnough)
{
   Session session = onTwoCores();
   session.callsUntil(true);
   session.answerAfter(2'000'000, 2'000'000);
   EXPECT_FALSE(session.call());
   EXPECT_LE(session.looks(), AnswerWait::kLongestPoll / kLook + 1);
   EXPECT_EQ(session.lastCall(), 2'000'000);
}

TEST(AnswerWait, PollInVainIsFollowedByARest)
{
   Session session = onTwoCores();
   session.callsUntil(true);
   session.answerAfter(2'000'000, 2'000'000);
   session.call();
   session.answerAfter(30'000, 15'000);
   EXPECT_EQ(session.callsUntil(true), kShortestRest + kSoon + 1);
   session.answerAfter(2'000'000, 2'000'000);
   session.call();
   session.answerAfter(30'000, 15'000);
   EXPECT_EQ(session.callsUntil(true), 3 * kShortestRest + kSoon + 1);
}

TEST(AnswerWait, PollInVainBehindEnoughThatPaidIsFollowedByOthersSoon)
{
   Session session = onTwoCores();
   session.callsUntil(true);
   call(session, static_cast<int>(AnswerWait::kPollsThatPay));
   session.answerAfter(2'000'000, 2'000'000);
   session.call();
   session.answerAfter(30'000, 15'000);
   EXPECT_EQ(session.callsUntil(true), kSoon + 1);
}

TEST(AnswerWait, ServiceThatIsSlowNowAndThenIsPolledForSeldom)
{
   Session session = onTwoCores();
   int polledInVain = 0;
   for (int i = 0; i < 1000 * kSoon; ++i) {
      const bool isSlow = i % (kSoon + 4) == 0;
      session.answerAfter(isSlow ? 2'000'000 : 30'000, isSlow ? 2'000'000 : 15'000);
      if (!session.call() && session.looks() > 0) ++polledInVain;
   }
   EXPECT_LE(polledInVain, 24); // while rests grow to the longest, and then one behind each
}

TEST(AnswerWait, RestsNoLongerThanTheLongest)
{
   Session session(60'000, 60'000); // soon, and never within a poll
   for (int i = 0; i < 20; ++i) {
      while (!session.call() && session.looks() == 0) {
      }
   }
   session.answerAfter(30'000, 15'000);
   EXPECT_EQ(session.callsUntil(true), kLongestRest + kSoon + 1);
}

TEST(AnswerWait, RestsHalfAsLongWhenPollsHavePaid)
{
   Session session(60'000, 60'000);
   for (int i = 0; i < 20; ++i) {
      while (!session.call() && session.looks() == 0) {
      }
   }
   session.answerAfter(30'000, 15'000);
   session.callsUntil(true);
   EXPECT_EQ(session.callsUntil(false), static_cast<int>(AnswerWait::kMostPolls));
   EXPECT_EQ(session.callsUntil(true), kLongestRest / 2 + kSoon);
}

TEST(AnswerWait, ReadsNoClockInARest)
{
   Session session = onTwoCores();
   session.callsUntil(true);
   session.answerAfter(2'000'000, 2'000'000);
   session.call();
   const int before = session.clockReads();
   call(session, kShortestRest);
   EXPECT_EQ(session.clockReads(), before);
}

TEST(AnswerWait, PollsThatAreNoShorterThanSleepEndInAFewCalls)
{
   Session session(6'000, 5'500); // as with the service on the client's own core
   session.callsUntil(true);
   EXPECT_LE(session.callsUntil(false), AnswerWait::kMostCredit);
   EXPECT_EQ(session.callsUntil(true), kShortestRest + kSoon); // the rest has begun
}

TEST(AnswerWait, PollsGoOnWhenFewOfThemWereLonger)
{
   Session session = onTwoCores();
   session.callsUntil(true);
   for (uint32_t i = 1; i < AnswerWait::kMostPolls / 2; ++i) {
      session.answerAfter(30'000, i % 4 == 0 ? 40'000 : 15'000);
      ASSERT_TRUE(session.call()) << i;
   }
}

TEST(AnswerWait, SleepsNowAndThenToKnowWhatThatTakes)
{
   Session session = onTwoCores();
   session.callsUntil(true);
   EXPECT_EQ(session.callsUntil(false), static_cast<int>(AnswerWait::kMostPolls));
   session.answerAfter(15'000, 15'000); // sleeping has become as short
   session.callsUntil(true);
   EXPECT_LE(session.callsUntil(false), AnswerWait::kMostCredit);
}

TEST(AnswerWait, WhatComesWithoutARequestIsNoAnswer)
{
   Session session = onTwoCores();
   for (int i = 0; i < kLongestRest; ++i)
      session.receive();
   EXPECT_EQ(session.callsUntil(true), kSoon + 1);
   session.receive();
   EXPECT_EQ(session.looks(), 0);
}

TEST(AnswerWait, RequestWithoutAnAnswerIsForgottenWithTheNext)
{
   Session session = onTwoCores();
   call(session, kSoon - 1);
   session.askInVain(2'000'000);
   EXPECT_EQ(session.callsUntil(true), 2);
}

} // namespace
