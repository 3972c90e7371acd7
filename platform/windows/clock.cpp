#include "platform/clock.h"

#include <algorithm>
#include <atomic>
#include <windows.h>

namespace platform {

namespace {

// The system tells the step in units of 100 ns; it is a fraction of a millisecond longer than 15 ms
// on most machines.
int64_t measureTickMs()
{
   constexpr DWORD kUnitsPerMs = 10000;
   DWORD adjustment = 0;
   DWORD step = 0;
   BOOL isDisabled = FALSE;
   if (!GetSystemTimeAdjustment(&adjustment, &step, &isDisabled)) return 1;
   return std::max<int64_t>((int64_t{step} + kUnitsPerMs - 1) / kUnitsPerMs, 1);
}

} // namespace

int64_t monotonicMs()
{
   return static_cast<int64_t>(GetTickCount64());
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
   // The highest number would mean no end.
   constexpr int64_t kLongest = INFINITE - 1;
   for (; ms > kLongest; ms -= kLongest)
      Sleep(static_cast<DWORD>(kLongest));
   Sleep(static_cast<DWORD>(std::max<int64_t>(ms, 0)));
}

} // namespace platform
