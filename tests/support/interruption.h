// One interruption of a thread that waits in the system.
#ifndef TESTS_SUPPORT_INTERRUPTION_H
#define TESTS_SUPPORT_INTERRUPTION_H

#include <atomic>
#include <memory>

// Of the thread that makes the object, by a signal whose handler does not have interrupted calls begun
// again; where there are no such signals, by stopping the thread as a profiler does, and by a call that
// is queued to it and would end a wait that lets itself be ended so.
class Interruption
{
public:
   Interruption();
   ~Interruption();
   Interruption(const Interruption&) = delete;
   Interruption& operator=(const Interruption&) = delete;

   // On another thread.
   void send() const;

   // How often a thread has been interrupted since the last object was made.
   static std::atomic<int> taken;

private:
   struct System;
   const std::unique_ptr<System> system_;
};

#endif
