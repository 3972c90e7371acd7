// A listening local endpoint is an instance of its pipe that waits for a client; the next one is made
// when a client has come.
#include "service/stream.h"
#include "service/windows/handles.h"

#include <stdexcept>
#include <utility>

namespace zerova::test {

namespace {

HANDLE makeInstance(const std::string& path, DWORD flags)
{
   constexpr DWORD kBufferBytes = 64 * 1024;
   return CreateNamedPipeA(path.c_str(), PIPE_ACCESS_DUPLEX | FILE_FLAG_OVERLAPPED | flags,
                           PIPE_TYPE_BYTE | PIPE_READMODE_BYTE | PIPE_REJECT_REMOTE_CLIENTS,
                           PIPE_UNLIMITED_INSTANCES, kBufferBytes, kBufferBytes, 0, nullptr);
}

int bindTo(SOCKET socket, const sockaddr_in& address)
{
   const BOOL on = TRUE;
   setsockopt(socket, SOL_SOCKET, SO_EXCLUSIVEADDRUSE, reinterpret_cast<const char*>(&on),
              sizeof on);
   const bool isBound =
      bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
   return isBound ? 0 : WSAGetLastError();
}

// Waits until a client of the socket is there. False: the stop signal was raised.
bool waitForClient(SOCKET socket, const StopSignal& stop)
{
   const HANDLE event = CreateEventA(nullptr, TRUE, FALSE, nullptr);
   if (!event) fail("cannot make an event", GetLastError());
   WSAEventSelect(socket, event, FD_ACCEPT);
   const HANDLE waits[2] = {event, handleOf(stop.handle())};
   const bool isThere = WaitForMultipleObjects(2, waits, FALSE, INFINITE) == WAIT_OBJECT_0;
   WSAEventSelect(socket, nullptr, 0);
   CloseHandle(event);
   return isThere;
}

} // namespace

Listener Listener::local(const std::string& name, const std::string& folder, int)
{
   Listener listener;
   listener.description_ = pipeName(name, folder);
   // Emulators make a further instance all the same.
   const bool isServed = WaitNamedPipeA(listener.description_.c_str(), 1) != FALSE;
   const HANDLE pipe = isServed
                          ? INVALID_HANDLE_VALUE
                          : makeInstance(listener.description_, FILE_FLAG_FIRST_PIPE_INSTANCE);
   if (isServed || (pipe == INVALID_HANDLE_VALUE && GetLastError() == ERROR_ACCESS_DENIED))
      throw std::runtime_error("another process serves the endpoint " + listener.description_);
   if (pipe == INVALID_HANDLE_VALUE)
      fail("cannot listen at " + listener.description_, GetLastError());
   listener.handle_ = reinterpret_cast<NativeHandle>(pipe);
   return listener;
}

Listener Listener::tcp(const std::string& text, std::uint16_t port, int backlog)
{
   Listener listener;
   sockaddr_in address = tcpAddress(text, port);
   const SOCKET made = openSocket();
   listener.handle_ = static_cast<NativeHandle>(made);
   listener.port_ = port; // tells that the handle is a socket
   int failure = bindTo(made, address);
   if (failure == 0 && listen(made, backlog) != 0) failure = WSAGetLastError();
   if (failure != 0)
      fail("cannot listen at " + text + ":" + std::to_string(port), static_cast<DWORD>(failure));
   int length = sizeof address;
   getsockname(made, reinterpret_cast<sockaddr*>(&address), &length);
   listener.port_ = ntohs(address.sin_port);
   listener.description_ = text + ":" + std::to_string(listener.port_);
   return listener;
}

Listener::Listener(Listener&& other) noexcept
   : handle_(std::exchange(other.handle_, kNoHandle))
   , port_(other.port_)
   , description_(std::move(other.description_))
{
}

Listener::~Listener()
{
   if (handle_ != kNoHandle) Stream(handle_).close();
}

std::optional<Stream> Listener::accept(const StopSignal& stop)
{
   while (port_ != 0) {
      const SOCKET own = static_cast<SOCKET>(handle_);
      if (!waitForClient(own, stop)) return std::nullopt;
      const SOCKET accepted = ::accept(own, nullptr, nullptr);
      if (accepted == INVALID_SOCKET) continue; // the client may be gone again
      WSAEventSelect(accepted, nullptr, 0);
      u_long isBlocking = 0;
      ioctlsocket(accepted, static_cast<long>(FIONBIO), &isBlocking);
      const BOOL on = TRUE;
      setsockopt(accepted, IPPROTO_TCP, TCP_NODELAY, reinterpret_cast<const char*>(&on), sizeof on);
      return Stream(static_cast<NativeHandle>(accepted));
   }
   Transfer connecting;
   const bool isDone = ConnectNamedPipe(handleOf(handle_), connecting.record()) != FALSE;
   if (!connecting.wait(handleOf(handle_), isDone, stop)) return std::nullopt;
   switch (connecting.failure()) {
   case 0:
   case ERROR_PIPE_CONNECTED: // before it was waited for
   case ERROR_NO_DATA:        // and gone again; what it wrote is there
      break;
   default:
      fail("cannot accept at " + description_, connecting.failure());
   }
   const HANDLE next = makeInstance(description_, 0);
   if (next == INVALID_HANDLE_VALUE) fail("cannot listen at " + description_, GetLastError());
   return Stream(std::exchange(handle_, reinterpret_cast<NativeHandle>(next)));
}

std::optional<ReservedAddress> ReservedAddress::take(const std::string& text, std::uint16_t port)
{
   const sockaddr_in address = tcpAddress(text, port);
   ReservedAddress reserved(static_cast<NativeHandle>(openSocket()));
   const int failure = bindTo(static_cast<SOCKET>(reserved.handle_), address);
   if (failure == WSAEADDRINUSE || failure == WSAEACCES) return std::nullopt;
   if (failure != 0)
      fail("cannot reserve " + text + ":" + std::to_string(port), static_cast<DWORD>(failure));
   return reserved;
}

ReservedAddress::ReservedAddress(ReservedAddress&& other) noexcept
   : handle_(std::exchange(other.handle_, kNoHandle))
{
}

ReservedAddress::~ReservedAddress()
{
   if (handle_ != kNoHandle) closesocket(static_cast<SOCKET>(handle_));
}

} // namespace zerova::test
