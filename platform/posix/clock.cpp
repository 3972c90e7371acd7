#include "platform/clock.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <ctime>

namespace platform {

namespace {

constexpr int64_t kMsPerSecond = 1000;
constexpr int64_t kNsPerMs = 1000000;

int64_t measureTickMs()
{
   timespec step{};
   clock_getres(CLOCK_MONOTONIC, &step);
   const int64_t wholeMs = step.tv_sec * kMsPerSecond + (step.tv_nsec + kNsPerMs - 1) / kNsPerMs;
   return std::max<int64_t>(wholeMs, 1); // what monotonicMs cuts off is a step as well
}

} // namespace

int64_t monotonicMs()
{
   timespec now{};
   clock_gettime(CLOCK_MONOTONIC, &now);
   return now.tv_sec * kMsPerSecond + now.tv_nsec / kNsPerMs;
}

int64_t clockTickMs()
{
   // 0 stands for not yet measured, so the value is its own flag and threads that come at once can
   // only store the same number: no lock, and no order between two variables to keep.
   static std::atomic<int64_t> measured{0};
   int64_t tick = measured.load(std::memory_order_relaxed);
   if (tick == 0) {
      tick = measureTickMs();
      measured.store(tick, std::memory_order_relaxed);
   }
   return tick;
}

void pauseMs(int64_t ms)
{
   timespec left{ms / kMsPerSecond, (ms % kMsPerSecond) * kNsPerMs};
   while (nanosleep(&left, &left) == -1 && errno == EINTR) {
   }
}

} // namespace platform
