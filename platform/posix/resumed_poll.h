// poll that a signal makes neither longer nor shorter.
#ifndef PLATFORM_POSIX_RESUMED_POLL_H
#define PLATFORM_POSIX_RESUMED_POLL_H

#include <cerrno>
#include <chrono>
#include <cstdint>
#include <poll.h>

namespace platform {

// Results as those of poll. A negative time is no limit.
inline int resumedPoll(pollfd* watched, nfds_t count, int32_t time)
{
   using Clock = std::chrono::steady_clock;
   using std::chrono::milliseconds;
   const Clock::time_point limit = Clock::now() + milliseconds(time);
   int remaining = time;
   for (;;) {
      const int ready = poll(watched, count, remaining);
      if (ready >= 0 || errno != EINTR) return ready;
      if (time < 0) continue;
      const auto left = std::chrono::ceil<milliseconds>(limit - Clock::now()).count();
      remaining = left > 0 ? static_cast<int>(left) : 0;
   }
}

} // namespace platform

#endif
