#include "service/windows/handles.h"

#include <algorithm>
#include <stdexcept>

namespace zerova::test {

void fail(const std::string& what, DWORD failure)
{
   throw std::runtime_error(what + ": failure " + std::to_string(failure));
}

Transfer::Transfer()
{
   record_.hEvent = CreateEventA(nullptr, TRUE, FALSE, nullptr);
   if (!record_.hEvent) fail("cannot make an event", GetLastError());
}

Transfer::~Transfer()
{
   CloseHandle(record_.hEvent);
}

// isOver tells after each step, in milliseconds, whether the transfer can end at all.
template <typename IsOver>
bool Transfer::wait(HANDLE handle, bool isDone, const StopSignal& stop, DWORD step, IsOver isOver)
{
   failure_ = isDone ? 0 : GetLastError();
   if (failure_ != 0 && failure_ != ERROR_IO_PENDING) return true;
   const HANDLE waits[2] = {record_.hEvent, handleOf(stop.handle())};
   DWORD ended = WaitForMultipleObjects(2, waits, FALSE, step);
   while (ended == WAIT_TIMEOUT && !isOver())
      ended = WaitForMultipleObjects(2, waits, FALSE, step);
   if (ended != WAIT_OBJECT_0) CancelIoEx(handle, &record_);
   failure_ = GetOverlappedResult(handle, &record_, &count_, TRUE) ? 0 : GetLastError();
   if (ended == WAIT_TIMEOUT && failure_ != 0) failure_ = WSAECONNRESET;
   return ended == WAIT_OBJECT_0 || ended == WAIT_TIMEOUT;
}

bool Transfer::wait(HANDLE handle, bool isDone, const StopSignal& stop)
{
   return wait(handle, isDone, stop, INFINITE, [] { return false; });
}

bool Transfer::waitOnSocket(SOCKET socket, bool isDone, const StopSignal& stop)
{
   constexpr DWORD kStep = 2000; // asking keeps Wine busy
   return wait(reinterpret_cast<HANDLE>(socket), isDone, stop, kStep, [socket] {
      WSAPOLLFD asked = {socket, POLLWRNORM, 0};
      return WSAPoll(&asked, 1, 0) == 1 && (asked.revents & (POLLERR | POLLHUP)) != 0;
   });
}

void startSockets()
{
   static const bool started = [] {
      WSADATA told;
      if (const int failure = WSAStartup(MAKEWORD(2, 2), &told))
         fail("cannot start the sockets", static_cast<DWORD>(failure));
      return true;
   }();
   static_cast<void>(started);
}

SOCKET openSocket()
{
   startSockets();
   const SOCKET made = WSASocketW(AF_INET, SOCK_STREAM, 0, nullptr, 0,
                                  WSA_FLAG_OVERLAPPED | WSA_FLAG_NO_HANDLE_INHERIT);
   if (made == INVALID_SOCKET) fail("cannot make a socket", GetLastError());
   return made;
}

sockaddr_in tcpAddress(const std::string& text, std::uint16_t port)
{
   sockaddr_in address{};
   address.sin_family = AF_INET;
   address.sin_port = htons(port);
   address.sin_addr.s_addr = inet_addr(text.c_str());
   if (ntohl(address.sin_addr.s_addr) >> 24 != 127)
      throw std::runtime_error("\"" + text + "\" is no loopback address such as 127.0.0.1");
   return address;
}

// Below the folder of the build, what is left of the path is the name as the library has it.
std::string pipeName(const std::string& name, const std::string& folder)
{
   const std::string ofBuild = buildEndpointDir() + "/";
   std::string path = folder + "/" + name;
   if (path.starts_with(ofBuild)) path.erase(0, ofBuild.size());
   std::replace(path.begin(), path.end(), '\\', '/');
   return "\\\\.\\pipe\\" + path;
}

} // namespace zerova::test
