#include "tools/zerovactl/deadline.h"

#include "tools/zerovactl/output.h"
#include "tools/zerovactl/system.h"
#include "tools/zerovactl/temporary_path.h"

#include <chrono>
#include <cstdlib>
#include <sstream>

namespace zerovactl {

Deadline::Deadline(double seconds, bool asJson)
{
   if (seconds <= 0) return;
   thread_ = std::thread([this, seconds, asJson] {
      std::unique_lock lock(mutex_);
      if (ended_.wait_for(lock, std::chrono::duration<double>(seconds),
                          [this] { return isEnded_; }))
         return;
      std::ostringstream words;
      words << "not done within " << seconds << " s (--timeout)";
      if (asJson)
         writeLastWords(Stream::kOutput,
                        failureDocument(Failure(kTimedOut, words.str())).dump() + '\n');
      writeLastWords(Stream::kError, "zerovactl: " + words.str() + '\n');
      TemporaryPath::removeAll();
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
