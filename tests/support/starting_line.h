// Threads that begin at once.
#ifndef TESTS_SUPPORT_STARTING_LINE_H
#define TESTS_SUPPORT_STARTING_LINE_H

#include <atomic>
#include <thread>

// Holds each thread that comes until all have come. Not std::barrier: where a system has no call
// that waits for a value, libstdc++ 12 holds no lock between its last look at the value and its
// sleep, and a wake-up that comes between is lost.
class StartingLine
{
public:
   explicit StartingLine(int threads)
      : missing_(threads)
   {
   }

   // Returns when as many threads have called it.
   void wait()
   {
      --missing_;
      while (missing_ > 0)
         std::this_thread::yield();
   }

private:
   std::atomic<int> missing_;
};

#endif
