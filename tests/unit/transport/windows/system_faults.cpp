#include "unit/transport/system_faults.h"

#include "support/windows/import_patch.h"
#include "unit/transport/descriptors.h"

#include <list>
#include <optional>

#include <windows.h>
#include <winsock2.h>

namespace faults {
namespace {

// Set by the thread that wants it, which is the only one that it concerns. Nothing of a thread's own
// would do: its first use in a thread allocates.
template <typename Value>
class OfOneThread
{
public:
   void hold(Value value)
   {
      value_ = std::move(value);
      holder_ = GetCurrentThreadId();
   }
   void drop() { holder_ = 0; }
   Value* get() { return holder_ == GetCurrentThreadId() ? &value_ : nullptr; }

private:
   std::atomic<DWORD> holder_ = 0; // the number of no thread
   Value value_{};
};

struct Waits
{
   WatchedWaits::On on = WatchedWaits::On::kSockets;
   std::vector<int> limits;
   size_t firstTimedOut = SIZE_MAX;
   bool failsNext = false;

   // Notes one; false for one that is not to look.
   bool looks(int limit)
   {
      limits.push_back(limit);
      return limits.size() <= firstTimedOut;
   }
};

OfOneThread<int> refusals[static_cast<size_t>(Wish::kCount)];
OfOneThread<size_t> eventsUntilRefused;
OfOneThread<std::vector<bool>> connects;
OfOneThread<Waits> waits;
OfOneThread<std::vector<std::string>> names;

bool isRefused(Wish wish, DWORD failure)
{
   int* const times = refusals[static_cast<size_t>(wish)].get();
   if (!times || *times == 0) return false;
   --*times;
   SetLastError(failure);
   return true;
}

Waits* waitsOn(WatchedWaits::On on)
{
   Waits* const watched = waits.get();
   return watched && watched->on == on ? watched : nullptr;
}

bool failsNext(Waits& watched, DWORD failure)
{
   if (!std::exchange(watched.failsNext, false)) return false;
   SetLastError(failure);
   return true;
}

decltype(&WSASocketW) realSocket;
SOCKET WSAAPI makeSocket(int domain, int type, int protocol, WSAPROTOCOL_INFOW* information,
                         GROUP group, DWORD flags)
{
   if (isRefused(Wish::kSocket, WSAEMFILE)) return INVALID_SOCKET;
   return realSocket(domain, type, protocol, information, group, flags);
}

decltype(&ioctlsocket) realMode;
int WSAAPI setMode(SOCKET socket, long command, u_long* argument)
{
   if (isRefused(Wish::kNonBlocking, WSAENOBUFS)) return SOCKET_ERROR;
   return realMode(socket, command, argument);
}

decltype(&CreateFileA) realOpen;
HANDLE WINAPI openFile(const char* name, DWORD access, DWORD share, SECURITY_ATTRIBUTES* security,
                       DWORD disposition, DWORD flags, HANDLE like)
{
   if (isRefused(Wish::kPipeThatIsNotBusy, ERROR_PIPE_BUSY)) return INVALID_HANDLE_VALUE;
   return realOpen(name, access, share, security, disposition, flags, like);
}

decltype(&CreateEventA) realEvent;
HANDLE WINAPI makeEvent(SECURITY_ATTRIBUTES* security, BOOL isManual, BOOL isRaised,
                        const char* name)
{
   size_t* const left = eventsUntilRefused.get();
   if (left && (*left)-- == 0) {
      SetLastError(ERROR_NO_SYSTEM_RESOURCES);
      return nullptr;
   }
   return realEvent(security, isManual, isRaised, name);
}

decltype(&connect) realConnect;
int WSAAPI connectSocket(SOCKET socket, const sockaddr* address, int size)
{
   if (auto* const noted = connects.get())
      noted->push_back(descriptors::isKeptFromChildren(static_cast<std::intptr_t>(socket)));
   return realConnect(socket, address, size);
}

decltype(&select) realSelect;
int WSAAPI waitForSockets(int count, fd_set* readable, fd_set* writable, fd_set* errored,
                          PTIMEVAL limit)
{
   if (Waits* const watched = waitsOn(WatchedWaits::On::kSockets)) {
      const int time = limit ? static_cast<int>(limit->tv_sec * 1000 + limit->tv_usec / 1000) : -1;
      const bool looks = watched->looks(time);
      if (failsNext(*watched, WSAENOBUFS)) return SOCKET_ERROR;
      if (!looks) return 0;
   }
   return realSelect(count, readable, writable, errored, limit);
}

decltype(&WaitForSingleObject) realWait;
DWORD WINAPI waitForObject(HANDLE object, DWORD limit)
{
   if (Waits* const watched = waitsOn(WatchedWaits::On::kPipes)) {
      const bool looks = watched->looks(static_cast<int>(limit));
      if (failsNext(*watched, ERROR_INVALID_HANDLE)) return WAIT_FAILED;
      if (!looks) return WAIT_TIMEOUT;
   }
   return realWait(object, limit);
}

decltype(&gethostbyname) realLookUp;
hostent* WSAAPI lookUp(const char* name)
{
   auto* const noted = names.get();
   if (!noted) return realLookUp(name);
   noted->emplace_back(name);
   WSASetLastError(WSAHOST_NOT_FOUND);
   return nullptr;
}

// For as long as the program runs.
class Patches
{
public:
   Patches()
   {
      add("WSASocketW", makeSocket, realSocket);
      add("ioctlsocket", setMode, realMode);
      add("CreateFileA", openFile, realOpen);
      add("CreateEventA", makeEvent, realEvent);
      add("connect", connectSocket, realConnect);
      add("select", waitForSockets, realSelect);
      add("WaitForSingleObject", waitForObject, realWait);
      add("gethostbyname", lookUp, realLookUp);
   }

private:
   template <typename Function>
   void add(const char* name, Function* replacement, Function*& original)
   {
      const auto& patch = patches_.emplace_back(name, replacement, zerova::test::kProgram);
      original = reinterpret_cast<Function*>(patch.original());
   }

   std::list<zerova::test::ImportPatch> patches_;
};

const Patches patches;

} // namespace

Refused::Refused(Wish wish, int times)
   : wish_(wish)
{
   refusals[static_cast<size_t>(wish)].hold(times);
}

Refused::~Refused()
{
   refusals[static_cast<size_t>(wish_)].drop();
}

bool Refused::hasHappened() const
{
   return *refusals[static_cast<size_t>(wish_)].get() == 0;
}

struct RefusedEvent::Own
{
};

RefusedEvent::RefusedEvent(size_t index)
{
   eventsUntilRefused.hold(index);
}

RefusedEvent::~RefusedEvent()
{
   eventsUntilRefused.drop();
}

WatchedConnects::WatchedConnects()
{
   connects.hold({});
}

WatchedConnects::~WatchedConnects()
{
   connects.drop();
}

const std::vector<bool>& WatchedConnects::keptFromChildren() const
{
   return *connects.get();
}

WatchedWaits::WatchedWaits(On on)
{
   Waits watched;
   watched.on = on;
   waits.hold(std::move(watched));
}

WatchedWaits::~WatchedWaits()
{
   waits.drop();
}

void WatchedWaits::failNext()
{
   waits.get()->failsNext = true;
}

void WatchedWaits::timeOutFrom(size_t index)
{
   waits.get()->firstTimedOut = index;
}

const std::vector<int>& WatchedWaits::limits() const
{
   return waits.get()->limits;
}

NamelessNetwork::NamelessNetwork()
{
   names.hold({});
}

NamelessNetwork::~NamelessNetwork()
{
   names.drop();
}

const std::vector<std::string>& NamelessNetwork::asked() const
{
   return *names.get();
}

} // namespace faults
