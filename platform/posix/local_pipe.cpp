// A named pipe is a Unix-domain stream socket in the endpoint folder.
#include "platform/local_pipe.h"

#include "platform/posix/resumed_poll.h"
#include "platform/posix/resumed_socket.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <new>
#include <string_view>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <type_traits>
#include <unistd.h>
#include <utility>

namespace platform {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

// A transfer is waited for on its descriptor, so an event holds nothing of the system's and costs
// no descriptor.
using Event = std::atomic<bool>;

Event& eventOf(Handle event)
{
   return *reinterpret_cast<Event*>(event);
}

// Nothing runs between start and finish: a transfer that could not be done at its start is done
// when it is finished.
struct Record
{
   char* data;
   uint32_t length;
   uint32_t count;
   int descriptor;
   bool writing;
   bool ended;
};
static_assert(sizeof(Record) <= sizeof(PipeTransfer::record));
static_assert(alignof(Record) <= alignof(std::uintptr_t) && std::is_trivially_copyable_v<Record>);

Record& recordOf(PipeTransfer& transfer)
{
   return *std::launder(reinterpret_cast<Record*>(transfer.record));
}

void end(PipeTransfer& transfer, Record& record, uint32_t count)
{
   record.count = count;
   record.ended = true;
   raiseEvent(transfer.event);
}

// Sends or receives once, as much as goes. A negative result leaves the reason in errno.
ssize_t moveBytes(const Record& record, int flags)
{
   if (!record.writing) return resumedReceive(record.descriptor, record.data, record.length, flags);
   return resumedSend(record.descriptor, record.data, record.length, flags | MSG_NOSIGNAL);
}

int pollFor(const Record& record, int32_t time, short& found)
{
   pollfd watched{record.descriptor, static_cast<short>(record.writing ? POLLOUT : POLLIN), 0};
   const int ready = resumedPoll(&watched, 1, time);
   found = watched.revents;
   return ready;
}

int endpointAddress(const char* fullName, sockaddr_un& address)
{
   constexpr std::string_view prefix = "\\\\.\\pipe\\";
   constexpr std::string_view folder = ZEROVA_ENDPOINT_DIR "/";
   const std::string_view name = fullName;
   if (name.substr(0, prefix.size()) != prefix) return ENOENT;
   const std::string_view own = name.substr(prefix.size());
   address = {};
   address.sun_family = AF_UNIX;
   if (folder.size() + own.size() >= sizeof(address.sun_path)) return ENAMETOOLONG;
   std::memcpy(address.sun_path, folder.data(), folder.size());
   std::memcpy(address.sun_path + folder.size(), own.data(), own.size());
   return 0;
}

int connectTo(int descriptor, const sockaddr_un& address)
{
   return connect(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof(address));
}

OpenedPipe notOpened(int error)
{
   return {error == EAGAIN ? PipeOpening::busy : PipeOpening::failed, kInvalidHandle, error};
}

OpenedPipe closeUnopened(int descriptor, int error)
{
   close(descriptor);
   return notOpened(error);
}

// Connecting does not block, transfers do, unless the caller's flags say otherwise.
OpenedPipe handOut(int descriptor, uint32_t extraFlags)
{
   const int mode = (extraFlags & SOCK_NONBLOCK) != 0 ? O_NONBLOCK : 0;
   if (fcntl(descriptor, F_SETFL, mode) != 0) return closeUnopened(descriptor, errno);
   return {PipeOpening::opened, descriptor, 0};
}

// A stream socket cannot be asked whether a connection could be had: only a connect finds out, and
// the service accepts whoever has connected. So the connection that the wait gains is the one that
// the next open hands out. Its flags are those that socket(2) would have taken.
OpenedPipe handOverGained(int descriptor, uint32_t extraFlags)
{
   constexpr uint32_t known = SOCK_CLOEXEC | SOCK_NONBLOCK;
   if ((extraFlags & ~known) != 0) return closeUnopened(descriptor, EINVAL);
   return handOut(descriptor, extraFlags);
}

bool setSendLimit(int descriptor, milliseconds limit)
{
   const auto seconds = std::chrono::floor<std::chrono::seconds>(limit);
   const timeval time{static_cast<time_t>(seconds.count()),
                      static_cast<suseconds_t>((limit - seconds).count() * 1000)};
   return setsockopt(descriptor, SOL_SOCKET, SO_SNDTIMEO, &time, sizeof(time)) == 0;
}

// The kernel itself queues a blocking connect to a listener that is full, and bounds it by the send
// limit. A signal ends such a connect with nothing sent to the service, so it can be begun again.
bool connectWithin(int descriptor, const sockaddr_un& address, milliseconds time)
{
   const Clock::time_point limit = Clock::now() + time;
   for (milliseconds left = time; left.count() > 0;
        left = std::chrono::ceil<milliseconds>(limit - Clock::now()))
   {
      if (!setSendLimit(descriptor, left)) return false;
      if (connectTo(descriptor, address) == 0) return setSendLimit(descriptor, milliseconds(0));
      if (errno != EINTR) return false;
   }
   return false;
}

} // namespace

int createEvent(Handle& event)
{
   Event* const made = new (std::nothrow) Event(false);
   if (!made) return ENOMEM;
   event = reinterpret_cast<Handle>(made);
   return 0;
}

void raiseEvent(Handle event)
{
   eventOf(event) = true;
}

void closeEvent(Handle event)
{
   delete &eventOf(event);
}

PipeOpener::PipeOpener(const char* fullName)
   : fullName_(fullName)
{
}

PipeOpener::~PipeOpener()
{
   if (kept_ != kInvalidHandle) closePipe(kept_);
}

OpenedPipe PipeOpener::open(uint32_t extraFlags)
{
   if (kept_ != kInvalidHandle)
      return handOverGained(static_cast<int>(std::exchange(kept_, kInvalidHandle)), extraFlags);
   sockaddr_un address;
   if (const int error = endpointAddress(fullName_, address)) return notOpened(error);
   const int type = SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK | static_cast<int>(extraFlags);
   const int descriptor = socket(AF_UNIX, type, 0);
   if (descriptor < 0) return notOpened(errno);
   int result = 0;
   while ((result = connectTo(descriptor, address)) != 0 && errno == EINTR) {
   }
   if (result != 0) return closeUnopened(descriptor, errno);
   return handOut(descriptor, extraFlags);
}

bool PipeOpener::waitWhileBusy(int32_t time)
{
   sockaddr_un address;
   if (endpointAddress(fullName_, address) != 0) return false;
   const int descriptor = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
   if (descriptor < 0) return false;
   if (!connectWithin(descriptor, address, milliseconds(time))) {
      close(descriptor);
      return false;
   }
   kept_ = descriptor;
   return true;
}

void closePipe(Handle pipe)
{
   close(static_cast<int>(pipe));
}

bool canRead(Handle pipe)
{
   pollfd watched{static_cast<int>(pipe), POLLIN, 0};
   return poll(&watched, 1, 0) != 0;
}

int startRead(Handle pipe, void* buffer, uint32_t length, PipeTransfer& transfer)
{
   if (pipe == kInvalidHandle) return EBADF;
   eventOf(transfer.event) = false;
   Record* const record = new (transfer.record)
      Record{static_cast<char*>(buffer), length, 0, static_cast<int>(pipe), false, false};
   // Receiving nothing would look like the end of the connection.
   if (length == 0) end(transfer, *record, 0);
   return 0;
}

int startWrite(Handle pipe, const void* data, uint32_t length, PipeTransfer& transfer)
{
   if (pipe == kInvalidHandle) return EBADF;
   eventOf(transfer.event) = false;
   char* const bytes = static_cast<char*>(const_cast<void*>(data)); // never written through
   Record* const record =
      new (transfer.record) Record{bytes, length, 0, static_cast<int>(pipe), true, false};
   const ssize_t sent = moveBytes(*record, MSG_DONTWAIT);
   if (sent >= 0)
      end(transfer, *record, static_cast<uint32_t>(sent));
   else if (errno != EAGAIN)
      return errno;
   return 0;
}

WaitedTransfer waitForTransfer(const PipeTransfer& transfer, int32_t time)
{
   const Record& record = recordOf(const_cast<PipeTransfer&>(transfer));
   if (eventOf(transfer.event)) return {TransferWait::ended, 0};
   short found = 0;
   const int ready = pollFor(record, time, found);
   if (ready == 0) return {TransferWait::timedOut, 0};
   if (ready < 0) return {TransferWait::failed, errno};
   if ((found & POLLNVAL) != 0) return {TransferWait::failed, EBADF};
   return {TransferWait::ended, 0};
}

int finishTransfer(Handle, PipeTransfer& transfer, bool block, uint32_t& count)
{
   Record& record = recordOf(transfer);
   while (!record.ended) {
      const ssize_t moved = moveBytes(record, block ? 0 : MSG_DONTWAIT);
      if (moved == 0) return EPIPE;
      if (moved > 0)
         end(transfer, record, static_cast<uint32_t>(moved));
      else if (errno != EAGAIN || !block)
         return errno;
      else {
         // The caller's flags made the descriptor one that never blocks.
         short found = 0;
         if (pollFor(record, -1, found) < 0) return errno;
      }
   }
   count = record.count;
   return 0;
}

void cancelTransfer(Handle, PipeTransfer&) {} // see Record: nothing is ever under way

} // namespace platform
