#include "platform/clock.h"

#include "support/starting_line.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <thread>
#include <vector>

namespace {

TEST(Clock, NeverGoesBack)
{
   int64_t last = platform::monotonicMs();
   for (int i = 0; i < 1000; ++i) {
      const int64_t now = platform::monotonicMs();
      EXPECT_GE(now, last);
      last = now;
   }
}

TEST(Clock, TickIsTheSameForThreadsThatAskAtOnce)
{
   constexpr int kThreads = 8;
   StartingLine start(kThreads);
   std::vector<int64_t> ticks(kThreads);
   std::vector<std::thread> threads;
   for (int64_t& tick : ticks)
      threads.emplace_back([&] {
         start.wait();
         tick = platform::clockTickMs();
      });
   for (std::thread& thread : threads)
      thread.join();
   EXPECT_GE(ticks[0], 1);
   EXPECT_EQ(std::count(ticks.begin(), ticks.end(), ticks[0]), kThreads);
}

TEST(Clock, PauseIsNotShorterThanAskedByMoreThanATick)
{
   const int64_t start = platform::monotonicMs();
   platform::pauseMs(20);
   EXPECT_GE(platform::monotonicMs() - start, 20 - platform::clockTickMs());
}

TEST(Clock, PauseMayBeLongerThanASecond)
{
   const int64_t start = platform::monotonicMs();
   platform::pauseMs(1020);
   EXPECT_GE(platform::monotonicMs() - start, 1020 - platform::clockTickMs());
}

TEST(Clock, PauseOfZeroReturnsAtOnce)
{
   const int64_t start = platform::monotonicMs();
   platform::pauseMs(0);
   EXPECT_LT(platform::monotonicMs() - start, 1000);
}

} // namespace
