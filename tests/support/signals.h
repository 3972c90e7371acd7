// Signals that interrupt what a thread waits in, as a host's timer does.
#ifndef TESTS_SUPPORT_SIGNALS_H
#define TESTS_SUPPORT_SIGNALS_H

#include "support/interruption.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

// While it lives, the thread that made it is interrupted about every millisecond. That ends after 60 s at
// the latest, so that what every signal prolongs ends too, if late. One at a time.
class Signals
{
public:
   Signals()
      : thread_([this] { send(); })
   {
   }
   ~Signals()
   {
      {
         const std::lock_guard<std::mutex> guard(lock_);
         isOver_ = true;
      }
      end_.notify_all();
      thread_.join();
   }
   Signals(const Signals&) = delete;
   Signals& operator=(const Signals&) = delete;

   // Their number so far.
   int count() const { return Interruption::taken; }

   // Waits for so many more. False if they did not come within 60 s.
   bool waitForMore(int number) const
   {
      const int wanted = count() + number;
      const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(60);
      while (count() < wanted) {
         if (std::chrono::steady_clock::now() > limit) return false;
         std::this_thread::yield();
      }
      return true;
   }

private:
   void send()
   {
      const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(60);
      std::unique_lock<std::mutex> guard(lock_);
      while (!isOver_ && std::chrono::steady_clock::now() < limit) {
         interruption_.send();
         end_.wait_for(guard, std::chrono::milliseconds(1));
      }
   }

   const Interruption interruption_;
   std::mutex lock_;
   std::condition_variable end_;
   bool isOver_ = false;
   std::thread thread_;
};

#endif
