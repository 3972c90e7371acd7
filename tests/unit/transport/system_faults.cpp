// The linker leads the calls of the program's objects to the functions with __wrap_ in front.
#include "unit/transport/system_faults.h"

#include "platform/local_pipe.h"
#include "unit/transport/descriptors.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstdarg>
#include <fcntl.h>
#include <mutex>
#include <netdb.h>
#include <optional>
#include <poll.h>
#include <sys/socket.h>
#include <utility>

namespace faults {
namespace {

struct Fault
{
   int error = 0;
   int times = 0;

   bool strikes()
   {
      if (times == 0) return false;
      --times;
      errno = error;
      return true;
   }
};

struct Polls
{
   std::vector<int> limits;
   size_t firstTimedOut = SIZE_MAX;
   Fault fault;
   Fault interruption;
};

struct Ticks
{
   uint32_t next;
   uint32_t step;
};

struct SocketMeeting
{
   std::mutex lock;
   std::condition_variable arrival;
   std::atomic<bool> isHeld = false;
   int arrived = 0;

   // Takes the lock for no other test: it would put the threads in an order of its own.
   void attend()
   {
      if (!isHeld.load(std::memory_order_relaxed)) return;
      std::unique_lock<std::mutex> guard(lock);
      ++arrived;
      arrival.notify_all();
      arrival.wait_for(guard, std::chrono::milliseconds(200), [this] { return arrived > 1; });
   }
};

SocketMeeting meeting;

thread_local Fault pending[static_cast<size_t>(Call::kCount)];
thread_local std::optional<std::vector<bool>> connects;
thread_local std::optional<Polls> polls;
thread_local std::optional<std::vector<std::string>> names;
thread_local std::optional<Ticks> ticks;
thread_local std::optional<std::vector<std::string>> steps;

Fault& faultOf(Call call)
{
   return pending[static_cast<size_t>(call)];
}

} // namespace

Failing::Failing(Call call, int error, int times)
   : call_(call)
{
   faultOf(call) = {error, times};
}

Failing::~Failing()
{
   faultOf(call_) = {};
}

bool Failing::hasHappened() const
{
   return faultOf(call_).times == 0;
}

WatchedConnects::WatchedConnects()
{
   connects.emplace();
}

WatchedConnects::~WatchedConnects()
{
   connects.reset();
}

const std::vector<bool>& WatchedConnects::closeOnExec() const
{
   return *connects;
}

WatchedPoll::WatchedPoll()
{
   polls.emplace();
}

WatchedPoll::~WatchedPoll()
{
   polls.reset();
}

void WatchedPoll::failNext(int error, int times)
{
   polls->fault = {error, times};
}

void WatchedPoll::interruptNext(int times)
{
   polls->interruption = {EINTR, times};
}

void WatchedPoll::timeOutFrom(size_t index)
{
   polls->firstTimedOut = index;
}

const std::vector<int>& WatchedPoll::limits() const
{
   return polls->limits;
}

SlowSockets::SlowSockets()
{
   const std::lock_guard<std::mutex> guard(meeting.lock);
   meeting.isHeld = true;
   meeting.arrived = 0;
}

SlowSockets::~SlowSockets()
{
   const std::lock_guard<std::mutex> guard(meeting.lock);
   meeting.isHeld = false;
}

int SlowSockets::made() const
{
   const std::lock_guard<std::mutex> guard(meeting.lock);
   return meeting.arrived;
}

NamelessNetwork::NamelessNetwork()
{
   names.emplace();
}

NamelessNetwork::~NamelessNetwork()
{
   names.reset();
}

const std::vector<std::string>& NamelessNetwork::asked() const
{
   return *names;
}

SteppedTicks::SteppedTicks(uint32_t first, uint32_t step)
{
   ticks = Ticks{first, step};
}

SteppedTicks::~SteppedTicks()
{
   ticks.reset();
}

PipeSteps::PipeSteps()
{
   steps.emplace();
}

PipeSteps::~PipeSteps()
{
   steps.reset();
}

std::vector<std::string> PipeSteps::taken()
{
   return std::exchange(*steps, {});
}

void noteStep(const char* step)
{
   if (steps) steps->emplace_back(step);
}

} // namespace faults

extern "C" {

int __real_socket(int domain, int type, int protocol);
int __wrap_socket(int domain, int type, int protocol)
{
   if (faults::faultOf(faults::Call::kSocket).strikes()) return -1;
   faults::meeting.attend();
   return __real_socket(domain, type, protocol);
}

int __real_connect(int descriptor, const sockaddr* address, socklen_t size);
int __wrap_connect(int descriptor, const sockaddr* address, socklen_t size)
{
   if (faults::connects) faults::connects->push_back(descriptors::closesOnExec(descriptor));
   if (faults::faultOf(faults::Call::kConnect).strikes()) return -1;
   return __real_connect(descriptor, address, size);
}

ssize_t __real_send(int descriptor, const void* data, size_t length, int flags);
ssize_t __wrap_send(int descriptor, const void* data, size_t length, int flags)
{
   if (faults::faultOf(faults::Call::kSend).strikes()) return -1;
   return __real_send(descriptor, data, length, flags);
}

ssize_t __real_recv(int descriptor, void* buffer, size_t length, int flags);
ssize_t __wrap_recv(int descriptor, void* buffer, size_t length, int flags)
{
   if (faults::faultOf(faults::Call::kReceive).strikes()) return -1;
   return __real_recv(descriptor, buffer, length, flags);
}

int __real_fcntl(int descriptor, int command, ...);
int __wrap_fcntl(int descriptor, int command, ...)
{
   if (faults::faultOf(faults::Call::kFcntl).strikes()) return -1;
   if (command == F_GETFD || command == F_GETFL) return __real_fcntl(descriptor, command);
   va_list arguments;
   va_start(arguments, command);
   const int argument = va_arg(arguments, int);
   va_end(arguments);
   return __real_fcntl(descriptor, command, argument);
}

int __real_poll(pollfd* watched, nfds_t count, int limit);
int __wrap_poll(pollfd* watched, nfds_t count, int limit)
{
   if (!faults::polls) return __real_poll(watched, count, limit);
   faults::polls->limits.push_back(limit);
   if (faults::polls->fault.strikes()) return -1;
   if (faults::polls->interruption.times > 0) {
      __real_poll(nullptr, 0, faults::WatchedPoll::kInterruptedAfterMs);
      faults::polls->interruption.strikes();
      return -1;
   }
   if (faults::polls->limits.size() > faults::polls->firstTimedOut) return 0;
   return __real_poll(watched, count, limit);
}

int __real_gethostbyname_r(const char* name, hostent* host, char* room, size_t size,
                           hostent** found, int* reason);
int __wrap_gethostbyname_r(const char* name, hostent* host, char* room, size_t size,
                           hostent** found, int* reason)
{
   if (!faults::names) return __real_gethostbyname_r(name, host, room, size, found, reason);
   faults::names->push_back(name);
   *found = nullptr;
   *reason = HOST_NOT_FOUND;
   return 0;
}

// platform::raiseEvent(Handle)
void __real__ZN8platform10raiseEventEl(platform::Handle event);
void __wrap__ZN8platform10raiseEventEl(platform::Handle event)
{
   faults::noteStep("event raised");
   __real__ZN8platform10raiseEventEl(event);
}

// platform::cancelTransfer(Handle, PipeTransfer&)
void __real__ZN8platform14cancelTransferElRNS_12PipeTransferE(platform::Handle pipe,
                                                              platform::PipeTransfer& transfer);
void __wrap__ZN8platform14cancelTransferElRNS_12PipeTransferE(platform::Handle pipe,
                                                              platform::PipeTransfer& transfer)
{
   faults::noteStep("cancelled");
   __real__ZN8platform14cancelTransferElRNS_12PipeTransferE(pipe, transfer);
}

// platform::tickCount()
uint32_t __real__ZN8platform9tickCountEv();
uint32_t __wrap__ZN8platform9tickCountEv()
{
   if (!faults::ticks) return __real__ZN8platform9tickCountEv();
   const uint32_t now = faults::ticks->next;
   faults::ticks->next += faults::ticks->step;
   return now;
}

} // extern "C"
