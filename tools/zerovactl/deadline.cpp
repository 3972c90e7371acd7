#include "tools/zerovactl/deadline.h"

#include "tools/zerovactl/exit_status.h"
#include "tools/zerovactl/system.h"

#include <chrono>
#include <cstdlib>
#include <sstream>

namespace zerovactl {

Deadline::Deadline(double seconds)
{
   if (seconds <= 0) return;
   thread_ = std::thread([this, seconds] {
      std::unique_lock lock(mutex_);
      if (ended_.wait_for(lock, std::chrono::duration<double>(seconds),
                          [this] { return isEnded_; }))
         return;
      std::ostringstream words;
      words << "zerovactl: not done within " << seconds << " s (--timeout)\n";
      writeLastWords(words.str());
      std::_Exit(kTimedOut);
   });
}

Deadline::~Deadline()
{
   {
      const std::lock_guard lock(mutex_);
      isEnded_ = true;
   }
   ended_.notify_one();
   if (thread_.joinable()) thread_.join();
}

} // namespace zerovactl
