#include "unit/transport/descriptors.h"

#include "support/windows/import_patch.h"

#include <atomic>
#include <list>
#include <stdexcept>

#include <windows.h>
#include <winsock2.h>

namespace descriptors {
namespace {

HANDLE handleOf(Descriptor descriptor)
{
   return reinterpret_cast<HANDLE>(descriptor);
}

SOCKET socketOf(Descriptor descriptor)
{
   return static_cast<SOCKET>(descriptor);
}

// Of the thread that runs the tests.
const DWORD firstThread = GetCurrentThreadId();
size_t opened = 0;
size_t closed = 0;
// The system tells of no socket whether it blocks, so what it was last told is noted.
std::atomic<SOCKET> lastNonBlocking{INVALID_SOCKET};

void note(bool hasHappened, size_t& count)
{
   if (hasHappened && GetCurrentThreadId() == firstThread) ++count;
}

bool isHandle(std::uintptr_t result)
{
   return result != 0 && result != static_cast<std::uintptr_t>(-1);
}

// One type for each function, as each has an original of its own.
template <int, typename Function>
struct Opening;
template <int number, typename Result, typename... Arguments>
struct Opening<number, Result(Arguments...)>
{
   static inline Result (*original)(Arguments...) = nullptr;
   static Result call(Arguments... arguments)
   {
      const Result result = original(arguments...);
      note(isHandle((std::uintptr_t)result), opened); // a handle or a number
      return result;
   }
};

template <int, typename Function>
struct Closing;
template <int number, typename Result, typename... Arguments>
struct Closing<number, Result(Arguments...)>
{
   static inline Result (*original)(Arguments...) = nullptr;
   static Result call(Arguments... arguments)
   {
      const Result result = original(arguments...);
      note(number > 0 ? result != 0 : result == 0, closed);
      return result;
   }
};

struct ModeChange
{
   static inline decltype(&ioctlsocket) original = nullptr;
   static int call(SOCKET socket, long command, u_long* argument)
   {
      const int result = original(socket, command, argument);
      if (result == 0 && command == static_cast<long>(FIONBIO) && *argument != 0)
         lastNonBlocking = socket;
      return result;
   }
};

// For as long as the program runs.
class Patches
{
public:
   Patches()
   {
      add<Opening<0, decltype(CreateEventA)>>("CreateEventA");
      add<Opening<1, decltype(CreateFileA)>>("CreateFileA");
      add<Opening<2, decltype(CreateNamedPipeA)>>("CreateNamedPipeA");
      add<Opening<3, decltype(WSASocketW)>>("WSASocketW");
      add<Opening<4, decltype(socket)>>("socket");
      add<Opening<5, decltype(accept)>>("accept");
      add<Closing<1, decltype(CloseHandle)>>("CloseHandle");
      add<Closing<0, decltype(closesocket)>>("closesocket");
      add<ModeChange>("ioctlsocket");
   }

private:
   // Not every program imports all of them.
   template <typename Call>
   void add(const char* name)
   {
      if (!zerova::test::isImported(name, zerova::test::kProgram)) return;
      const auto& patch = patches_.emplace_back(name, Call::call, zerova::test::kProgram);
      Call::original = reinterpret_cast<decltype(Call::original)>(patch.original());
   }

   std::list<zerova::test::ImportPatch> patches_;
};

const Patches patches;

template <typename Value>
Value option(Descriptor socket, int level, int name)
{
   Value value{};
   int size = sizeof value;
   if (getsockopt(socketOf(socket), level, name, reinterpret_cast<char*>(&value), &size) != 0)
      throw std::runtime_error("an option of a socket cannot be read");
   return value;
}

} // namespace

size_t countOpen()
{
   return opened - closed;
}

bool isOpen(Descriptor descriptor)
{
   DWORD flags = 0;
   return GetHandleInformation(handleOf(descriptor), &flags) != FALSE;
}

bool isKeptFromChildren(Descriptor descriptor)
{
   DWORD flags = 0;
   return GetHandleInformation(handleOf(descriptor), &flags) && !(flags & HANDLE_FLAG_INHERIT);
}

bool isNonBlocking(Descriptor socket)
{
   return isOpen(socket) && lastNonBlocking == socketOf(socket);
}

bool hasNoDelay(Descriptor socket)
{
   return option<BOOL>(socket, IPPROTO_TCP, TCP_NODELAY) != FALSE;
}

int lingerSeconds(Descriptor socket)
{
   const auto onClose = option<linger>(socket, SOL_SOCKET, SO_LINGER);
   return onClose.l_onoff ? onClose.l_linger : -1;
}

bool hasRefusalPending(Descriptor socket)
{
   return option<int>(socket, SOL_SOCKET, SO_ERROR) == WSAECONNREFUSED;
}

uint32_t serverOf(Descriptor pipe)
{
   ULONG process = 0;
   return GetNamedPipeServerProcessId(handleOf(pipe), &process) ? process : 0;
}

void sendUrgentByte(Descriptor socket)
{
   if (send(socketOf(socket), "!", 1, MSG_OOB) != 1)
      throw std::runtime_error("urgent data cannot be sent");
}

// A connection that waits to be accepted does.
void makeWakeSocketReady(Descriptor socket)
{
   sockaddr_in address{};
   address.sin_family = AF_INET;
   address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
   int size = sizeof address;
   auto* const generic = reinterpret_cast<sockaddr*>(&address);
   const SOCKET own = socketOf(socket);
   const SOCKET client = ::socket(AF_INET, SOCK_STREAM, 0);
   const bool isWaiting = bind(own, generic, size) == 0 && listen(own, 1) == 0 &&
                          getsockname(own, generic, &size) == 0 &&
                          connect(client, generic, size) == 0;
   closesocket(client);
   if (!isWaiting) throw std::runtime_error("the wake socket cannot be connected to");
}

LowOnesTaken::LowOnesTaken()
{
   while (taken_.empty() || taken_.back() < 1024) {
      taken_.push_back(reinterpret_cast<Descriptor>(CreateEventA(nullptr, TRUE, FALSE, nullptr)));
      if (taken_.back() == 0) throw std::runtime_error("no more handles can be opened");
   }
}

LowOnesTaken::~LowOnesTaken()
{
   for (const Descriptor descriptor : taken_)
      CloseHandle(handleOf(descriptor));
}

} // namespace descriptors
