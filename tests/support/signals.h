// Signals that interrupt what a thread waits in, as a host's timer does.
#ifndef TESTS_SUPPORT_SIGNALS_H
#define TESTS_SUPPORT_SIGNALS_H

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <mutex>
#include <thread>

// While it lives, the thread that made it takes a signal about every millisecond, whose handler does
// not have interrupted calls begun again. They end after 20 s at the latest, so that what every
// signal prolongs ends too, if late. One at a time.
class Signals
{
public:
   Signals()
      : target_(pthread_self())
   {
      taken() = 0;
      struct sigaction counting
      {
      };
      counting.sa_handler = [](int) { ++taken(); };
      sigaction(SIGUSR1, &counting, &previous_);
      thread_ = std::thread([this] { send(); });
   }
   ~Signals()
   {
      {
         const std::lock_guard<std::mutex> guard(lock_);
         isOver_ = true;
      }
      end_.notify_all();
      thread_.join();
      sigaction(SIGUSR1, &previous_, nullptr);
   }
   Signals(const Signals&) = delete;
   Signals& operator=(const Signals&) = delete;

   // Their number so far.
   int count() const { return taken(); }

private:
   static std::atomic<int>& taken()
   {
      static std::atomic<int> number{0};
      return number;
   }

   void send()
   {
      const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(20);
      std::unique_lock<std::mutex> guard(lock_);
      while (!isOver_ && std::chrono::steady_clock::now() < limit) {
         pthread_kill(target_, SIGUSR1);
         end_.wait_for(guard, std::chrono::milliseconds(1));
      }
   }

   const pthread_t target_;
   struct sigaction previous_ = {};
   std::mutex lock_;
   std::condition_variable end_;
   bool isOver_ = false;
   std::thread thread_;
};

#endif
