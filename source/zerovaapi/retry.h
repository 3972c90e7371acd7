// Repeats the attempt to reach the service for a bounded time.
#ifndef ZEROVAAPI_RETRY_H
#define ZEROVAAPI_RETRY_H

#include "quelerr/status.h"
#include "source/zerovaapi/status_codes.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <type_traits>

namespace zerova {

inline constexpr int64_t kConnectLimitMs = 5000;
inline constexpr int64_t kConnectPauseMs = 50;

// A status for one attempt, of which the outcome may be thrown away.
class ScratchStatus
{
public:
   ScratchStatus() { quelerr_Status_init(&status_); }
   ScratchStatus(const ScratchStatus&) = delete;
   ScratchStatus& operator=(const ScratchStatus&) = delete;
   ~ScratchStatus() { quelerr_Status_release(&status_); }

   quelerr_Status* get() { return &status_; }
   void renew()
   {
      quelerr_Status_release(&status_);
      quelerr_Status_init(&status_);
   }

private:
   quelerr_Status status_;
};

// Elapsed time, rounded up to whole ticks, against the limit. The limit is one tick longer than
// asked, since the clock may be about to step when it is first read.
template <typename Clock>
class Deadline
{
public:
   Deadline(Clock& clock, int64_t limitMs)
      : clock_(clock)
      , tick_(clock.tickMs())
      , start_(clock.nowMs())
      , limit_(limitMs)
   {
      if (tick_ <= std::numeric_limits<int64_t>::max() - limit_) limit_ += tick_;
   }

   int64_t leftMs() const
   {
      const int64_t passed = clock_.nowMs() - start_;
      const int64_t ticks = passed / tick_ + (passed % tick_ != 0 ? 1 : 0);
      return ticks > limit_ / tick_ ? 0 : limit_ - ticks * tick_;
   }

private:
   Clock& clock_;
   int64_t tick_;
   int64_t start_;
   int64_t limit_;
};

// Runs attempt(quelerr_Status*) until it leaves anything but "service not available" or the time is
// up, and returns its last result. Only the last attempt's outcome reaches status. The time bounds
// the start of attempts: one that has begun runs to its end.
template <typename Clock, typename Attempt>
auto retryWhileUnavailable(Clock&& clock, quelerr_Status* status, Attempt&& attempt)
   -> std::invoke_result_t<Attempt, quelerr_Status*>
{
   const Deadline deadline(clock, kConnectLimitMs);
   ScratchStatus scratch;
   auto result = attempt(scratch.get());
   while (scratch.get()->code == kServiceNotAvailable.value && deadline.leftMs() > 0) {
      clock.pauseMs(std::min(kConnectPauseMs, deadline.leftMs()));
      scratch.renew();
      result = attempt(scratch.get());
   }
   quelerr_Status_adopt(status, scratch.get());
   return result;
}

} // namespace zerova

#endif
