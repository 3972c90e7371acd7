#include "platform/clock.h"

#include "support/signals.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <barrier>
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
   std::barrier start(kThreads);
   std::vector<int64_t> ticks(kThreads);
   std::vector<std::thread> threads;
   for (int64_t& tick : ticks)
      threads.emplace_back([&] {
         start.arrive_and_wait();
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

// A pause that began anew after each signal would last as long as they come.
TEST(Clock, SignalsDoNotProlongAPause)
{
   const Signals signals;
   const int64_t start = platform::monotonicMs();
   platform::pauseMs(500);
   const int64_t elapsed = platform::monotonicMs() - start;
   EXPECT_GE(elapsed, 500 - platform::clockTickMs());
   EXPECT_LT(elapsed, 10000);
   EXPECT_GT(signals.count(), 0) << "nothing has interrupted the pause";
}

TEST(Clock, PauseOfZeroReturnsAtOnce)
{
   const int64_t start = platform::monotonicMs();
   platform::pauseMs(0);
   EXPECT_LT(platform::monotonicMs() - start, 1000);
}

} // namespace
