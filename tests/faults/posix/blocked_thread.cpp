#include "faults/blocked_thread.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <string>
#include <thread>

namespace zerova::test {

namespace {

// The number of the call that a sleeping thread is in; -1 while it runs.
long sleepingIn(const std::string& file)
{
   std::ifstream stream(file);
   long number = -1;
   if (!(stream >> number)) return -1; // a running thread has a word there
   return number;
}

bool receivesOrPolls(long number)
{
   return number == SYS_recvfrom || number == SYS_recvmsg || number == SYS_read ||
#ifdef SYS_poll
          number == SYS_poll ||
#endif
          number == SYS_ppoll;
}

} // namespace

ThreadNumber ownThreadNumber()
{
   return static_cast<ThreadNumber>(gettid());
}

bool waitUntilBlocked(ThreadNumber thread)
{
   const std::string file = "/proc/self/task/" + std::to_string(thread) + "/syscall";
   const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(30);
   while (!receivesOrPolls(sleepingIn(file))) {
      if (std::chrono::steady_clock::now() > limit) return false;
      std::this_thread::yield();
   }
   return true;
}

} // namespace zerova::test
