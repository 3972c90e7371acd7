// The bound that --timeout sets on a whole command.
#ifndef TOOLS_ZEROVACTL_DEADLINE_H
#define TOOLS_ZEROVACTL_DEADLINE_H

#include <condition_variable>
#include <mutex>
#include <thread>

namespace zerovactl {

// Ends the process with kTimedOut when the time is over before the object is. A call in the library
// cannot be cancelled, and a resolver or a full pipe neither, so the process is what ends.
class Deadline
{
public:
   Deadline(double seconds, bool asJson); // 0: no bound
   ~Deadline();
   Deadline(const Deadline&) = delete;
   Deadline& operator=(const Deadline&) = delete;

private:
   std::mutex mutex_;
   std::condition_variable ended_;
   bool isEnded_ = false;
   std::thread thread_;
};

} // namespace zerovactl

#endif
