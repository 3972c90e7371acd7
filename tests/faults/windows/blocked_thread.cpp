// The system does not tell what its threads wait in, so the library's calls that can sleep until
// something comes are led through here.
#include "faults/blocked_thread.h"

#include "support/windows/import_patch.h"

#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>

#include <winsock2.h>

namespace zerova::test {

namespace {

struct Sleep
{
   std::uint64_t number = 0; // of all sleeps so far; 0: it has had none
   bool goesOn = false;
   std::uint64_t told = 0; // the one that somebody has waited for
};

class Sleeps
{
public:
   Sleeps()
      : finish_("GetOverlappedResult", finish)
      , select_("select", selectOne)
      , recv_("recv", receive)
   {
      original.finish = reinterpret_cast<decltype(original.finish)>(finish_.original());
      original.select = reinterpret_cast<decltype(original.select)>(select_.original());
      original.recv = reinterpret_cast<decltype(original.recv)>(recv_.original());
   }

   bool waitFor(ThreadNumber thread)
   {
      std::unique_lock lock(mutex_);
      Sleep& sleep = byThread_[thread];
      const auto isNew = [&sleep] { return sleep.goesOn && sleep.number > sleep.told; };
      if (!changed_.wait_for(lock, std::chrono::seconds(30), isNew)) return false;
      sleep.told = sleep.number;
      return true;
   }

private:
   struct Originals
   {
      decltype(&GetOverlappedResult) finish;
      decltype(&select) select;
      decltype(&recv) recv;
   };

   // Calls what has nothing to give yet, and leaves the system's failure number alone.
   template <typename Call>
   auto asleep(Call call)
   {
      note(true);
      const auto result = call();
      const DWORD failure = GetLastError();
      note(false);
      SetLastError(failure);
      return result;
   }

   void note(bool goesOn)
   {
      {
         const std::lock_guard lock(mutex_);
         Sleep& sleep = byThread_[ownThreadNumber()];
         sleep.goesOn = goesOn;
         if (goesOn) sleep.number = ++count_;
      }
      changed_.notify_all();
   }

   static BOOL WINAPI finish(HANDLE file, OVERLAPPED* record, DWORD* count, BOOL waits);
   static int WSAAPI selectOne(int count, fd_set* readable, fd_set* writable, fd_set* errored,
                               timeval* limit);
   static int WSAAPI receive(SOCKET socket, char* buffer, int length, int flags);

   static Originals original;

   std::mutex mutex_;
   std::condition_variable changed_;
   std::map<ThreadNumber, Sleep> byThread_;
   std::uint64_t count_ = 0;
   const ImportPatch finish_;
   const ImportPatch select_;
   const ImportPatch recv_;
};

Sleeps::Originals Sleeps::original = {};

// From before the first call to the last.
Sleeps sleeps;

BOOL Sleeps::finish(HANDLE file, OVERLAPPED* record, DWORD* count, BOOL waits)
{
   const auto call = [=] { return original.finish(file, record, count, waits); };
   if (!waits || HasOverlappedIoCompleted(record)) return call();
   return sleeps.asleep(call);
}

int Sleeps::selectOne(int count, fd_set* readable, fd_set* writable, fd_set* errored,
                      timeval* limit)
{
   const auto call = [=] { return original.select(count, readable, writable, errored, limit); };
   const bool returnsAtOnce = limit && limit->tv_sec == 0 && limit->tv_usec == 0;
   if (returnsAtOnce || !readable || readable->fd_count == 0) return call();
   return sleeps.asleep(call);
}

int Sleeps::receive(SOCKET socket, char* buffer, int length, int flags)
{
   const auto call = [=] { return original.recv(socket, buffer, length, flags); };
   u_long there = 0;
   if (ioctlsocket(socket, FIONREAD, &there) != 0 || there > 0) return call();
   return sleeps.asleep(call);
}

} // namespace

ThreadNumber ownThreadNumber()
{
   return GetCurrentThreadId();
}

bool waitUntilBlocked(ThreadNumber thread)
{
   return sleeps.waitFor(thread);
}

} // namespace zerova::test
