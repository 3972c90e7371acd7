// The linker leads the calls of the program's objects to the functions with __wrap_ in front.
#include "unit/transport/system_faults.h"

#include "support/failing_malloc.h"
#include "unit/transport/descriptors.h"
#include "unit/transport/posix/call_faults.h"

#include <cerrno>
#include <cstdarg>
#include <fcntl.h>
#include <netdb.h>
#include <optional>
#include <poll.h>
#include <sys/socket.h>

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

thread_local Fault pending[static_cast<size_t>(Call::kCount)];
thread_local std::optional<std::vector<bool>> connects;
thread_local std::optional<Polls> polls;
thread_local std::optional<std::vector<std::string>> names;

Fault& faultOf(Call call)
{
   return pending[static_cast<size_t>(call)];
}

// The call that asks for it, and the error that tells that it is not to be had.
struct Asking
{
   Call call;
   int error;
};

Asking askingFor(Wish wish)
{
   switch (wish) {
   case Wish::kSocket:
      return {Call::kSocket, EMFILE};
   case Wish::kNonBlocking:
      return {Call::kFcntl, EPERM};
   default:
      return {Call::kConnect, EAGAIN};
   }
}

} // namespace

Refused::Refused(Wish wish, int times)
   : wish_(wish)
{
   const Asking asking = askingFor(wish);
   faultOf(asking.call) = {asking.error, times};
}

Refused::~Refused()
{
   faultOf(askingFor(wish_).call) = {};
}

bool Refused::hasHappened() const
{
   return faultOf(askingFor(wish_).call).times == 0;
}

// An event is memory alone. The first allocation behind the connect is the open pipe's own.
struct RefusedEvent::Own
{
   FailingMalloc failing;
};

RefusedEvent::RefusedEvent(size_t index)
   : own_(new Own{FailingMalloc(index + 1)})
{
}

RefusedEvent::~RefusedEvent() = default;

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

const std::vector<bool>& WatchedConnects::keptFromChildren() const
{
   return *connects;
}

// Sockets and pipes are waited for by the same call.
WatchedWaits::WatchedWaits(On)
{
   polls.emplace();
}

WatchedWaits::~WatchedWaits()
{
   polls.reset();
}

void WatchedWaits::failNext()
{
   polls->fault = {ENOMEM, 1};
}

void interruptNextPolls(int times)
{
   polls->fault = {EINTR, times};
}

void interruptNextPollsLater(int times)
{
   polls->interruption = {EINTR, times};
}

void WatchedWaits::timeOutFrom(size_t index)
{
   polls->firstTimedOut = index;
}

const std::vector<int>& WatchedWaits::limits() const
{
   return polls->limits;
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

} // namespace faults

extern "C" {

int __real_socket(int domain, int type, int protocol);
int __wrap_socket(int domain, int type, int protocol)
{
   if (faults::faultOf(faults::Call::kSocket).strikes()) return -1;
   return __real_socket(domain, type, protocol);
}

int __real_connect(int descriptor, const sockaddr* address, socklen_t size);
int __wrap_connect(int descriptor, const sockaddr* address, socklen_t size)
{
   if (faults::connects) faults::connects->push_back(descriptors::isKeptFromChildren(descriptor));
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
      __real_poll(nullptr, 0, faults::kInterruptedAfterMs);
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

} // extern "C"
