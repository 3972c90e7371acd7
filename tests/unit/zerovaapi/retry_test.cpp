#include "source/zerovaapi/retry.h"

#include "service/checked_status.h"

#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using namespace zerova;
using test::CheckedStatus;

// Time passes only in pauses and where a test lets it pass.
struct ManualClock
{
   int64_t now = 1000;
   int64_t tick = 1;
   std::vector<int64_t> pauses = {};

   int64_t nowMs() const { return now; }
   int64_t tickMs() const { return tick; }
   void pauseMs(int64_t ms)
   {
      pauses.push_back(ms);
      now += ms;
   }
};

// Leaves codes[0] on the first attempt and so on, the last one for ever.
struct Attempts
{
   std::vector<int32_t> codes;
   int count = 0;

   std::unique_ptr<int> operator()(quelerr_Status* status)
   {
      const size_t index = std::min(static_cast<size_t>(count++), codes.size() - 1);
      const int32_t code = codes[index];
      const quelerr_Location site{"f", count, nullptr, "c"};
      quelerr_Status_setWithSite(status, code, site);
      return code == 0 ? std::make_unique<int>(count) : nullptr;
   }
};

TEST(Retry, FirstSuccessIsReturnedWithoutAPause)
{
   ManualClock clock;
   Attempts attempts{{0}};
   CheckedStatus status;
   const std::unique_ptr<int> result = retryWhileUnavailable(clock, status, attempts);
   ASSERT_TRUE(result);
   EXPECT_EQ(*result, 1);
   EXPECT_TRUE(clock.pauses.empty());
}

TEST(Retry, LaterSuccessLeavesTheStatusCleanAndUntouched)
{
   ManualClock clock;
   Attempts attempts{{-89168, -89168, 0}};
   CheckedStatus status;
   const std::unique_ptr<int> result = retryWhileUnavailable(clock, status, attempts);
   ASSERT_TRUE(result);
   EXPECT_EQ(*result, 3);
   EXPECT_EQ(status.code(), 0);
   EXPECT_EQ(status.growCalls(), 0);
   EXPECT_EQ(clock.pauses, (std::vector<int64_t>{50, 50}));
}

TEST(Retry, GivesUpAfterTheLimitPlusOneTick)
{
   ManualClock clock;
   Attempts attempts{{-89168}};
   CheckedStatus status;
   EXPECT_FALSE(retryWhileUnavailable(clock, status, attempts));
   EXPECT_EQ(clock.now - 1000, 5001);
   EXPECT_EQ(attempts.count, 102);
   EXPECT_EQ(clock.pauses.back(), 1);
   EXPECT_EQ(status.code(), -89168);
}

TEST(Retry, OnlyTheLastAttemptReachesTheCaller)
{
   ManualClock clock;
   Attempts attempts{{-89168}};
   CheckedStatus status(5, R"({"warning":1})");
   retryWhileUnavailable(clock, status, attempts);
   EXPECT_EQ(status.json(), R"({"error_constant":"c","file":"f","line":102})");
}

TEST(Retry, AnyOtherCodeEndsItAtOnce)
{
   for (const int32_t code : {-1, -52000, -52003, -52024, 1}) {
      SCOPED_TRACE(code);
      ManualClock clock;
      Attempts attempts{{code}};
      CheckedStatus status;
      EXPECT_FALSE(retryWhileUnavailable(clock, status, attempts));
      EXPECT_EQ(attempts.count, 1);
      EXPECT_TRUE(clock.pauses.empty());
      EXPECT_EQ(status.code(), code);
   }
}

TEST(Retry, AnotherCodeAfterSomeAttemptsEndsIt)
{
   ManualClock clock;
   Attempts attempts{{-89168, -7}};
   CheckedStatus status;
   EXPECT_FALSE(retryWhileUnavailable(clock, status, attempts));
   EXPECT_EQ(attempts.count, 2);
   EXPECT_EQ(status.code(), -7);
}

TEST(Retry, AttemptThatHasBegunRunsToItsEnd)
{
   ManualClock clock;
   CheckedStatus status;
   int count = 0;
   const auto slowAttempt = [&](quelerr_Status* outcome) {
      clock.now += 3000;
      quelerr_Status_setCode(outcome, -89168);
      return ++count;
   };
   EXPECT_EQ(retryWhileUnavailable(clock, status, slowAttempt), 2);
   EXPECT_EQ(clock.now - 1000, 6050);
}

TEST(Retry, CoarseClockWaitsOneTickMore)
{
   ManualClock clock;
   clock.tick = 16;
   Attempts attempts{{-89168}};
   CheckedStatus status;
   retryWhileUnavailable(clock, status, attempts);
   EXPECT_GE(clock.now - 1000, 5000);
   EXPECT_LE(clock.now - 1000, 5016);
}

TEST(Retry, TimeLeftCountsBegunTicksAsWhole)
{
   ManualClock clock;
   clock.tick = 16;
   const Deadline deadline(clock, 5000);
   EXPECT_EQ(deadline.leftMs(), 5016);
   clock.now += 1;
   EXPECT_EQ(deadline.leftMs(), 5000);
   clock.now += 15;
   EXPECT_EQ(deadline.leftMs(), 5000);
   clock.now += 4985;
   EXPECT_EQ(deadline.leftMs(), 8);
   clock.now += 7;
   EXPECT_EQ(deadline.leftMs(), 8);
   clock.now += 1;
   EXPECT_EQ(deadline.leftMs(), 0);
   clock.now += 1000000;
   EXPECT_EQ(deadline.leftMs(), 0);
}

TEST(Retry, TickThatWouldOverflowTheLimitIsLeftOut)
{
   ManualClock clock;
   clock.tick = std::numeric_limits<int64_t>::max();
   const Deadline deadline(clock, 5000);
   EXPECT_EQ(deadline.leftMs(), 5000);
   clock.now += 1;
   EXPECT_EQ(deadline.leftMs(), 0);
}

TEST(Retry, ExceptionThatLeavesAnAttemptLeavesTheStatusAlone)
{
   ManualClock clock;
   CheckedStatus status;
   const auto attempt = [](quelerr_Status* outcome) -> int {
      quelerr_Status_setWithSite(outcome, -1, quelerr_Location{"f", 1, nullptr, "c"});
      throw 42;
   };
   EXPECT_THROW(retryWhileUnavailable(clock, status, attempt), int);
   EXPECT_EQ(status.code(), 0);
}

} // namespace
