#include "service/stream.h"

#include "service/windows/handles.h"

#include <algorithm>
#include <utility>

namespace zerova::test {

namespace {

bool isSocket(NativeHandle handle)
{
   int type = 0;
   int size = sizeof type;
   return getsockopt(static_cast<SOCKET>(handle), SOL_SOCKET, SO_TYPE,
                     reinterpret_cast<char*>(&type), &size) == 0;
}

bool startReading(NativeHandle handle, char* buffer, std::size_t length, Transfer& transfer)
{
   const DWORD size = static_cast<DWORD>(std::min<std::size_t>(length, 1U << 30));
   if (!isSocket(handle))
      return ReadFile(handleOf(handle), buffer, size, nullptr, transfer.record()) != FALSE;
   WSABUF room{size, buffer};
   DWORD flags = 0;
   return WSARecv(static_cast<SOCKET>(handle), &room, 1, nullptr, &flags, transfer.record(),
                  nullptr) == 0;
}

bool startWriting(NativeHandle handle, std::string_view bytes, Transfer& transfer)
{
   const DWORD size = static_cast<DWORD>(std::min<std::size_t>(bytes.size(), 1U << 30));
   if (!isSocket(handle))
      return WriteFile(handleOf(handle), bytes.data(), size, nullptr, transfer.record()) != FALSE;
   WSABUF given{size, const_cast<char*>(bytes.data())};
   return WSASend(static_cast<SOCKET>(handle), &given, 1, nullptr, 0, transfer.record(), nullptr) ==
          0;
}

// Wine may tell of a reset as of a stream that was closed. Of the two, a closed one takes what is sent.
bool isReset(NativeHandle handle)
{
   return isSocket(handle) && send(static_cast<SOCKET>(handle), "", 0, 0) == SOCKET_ERROR;
}

} // namespace

std::string buildEndpointDir()
{
   return ZEROVA_ENDPOINT_DIR;
}

Stream Stream::connectLocal(const std::string& name, const std::string& folder)
{
   for (;;) {
      if (std::optional<Stream> stream = tryConnectLocal(name, folder)) return std::move(*stream);
      const std::string path = pipeName(name, folder);
      if (!WaitNamedPipeA(path.c_str(), NMPWAIT_WAIT_FOREVER))
         fail("cannot wait for " + path, GetLastError());
   }
}

std::optional<Stream> Stream::tryConnectLocal(const std::string& name, const std::string& folder)
{
   const std::string path = pipeName(name, folder);
   const HANDLE pipe = CreateFileA(path.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr,
                                   OPEN_EXISTING, FILE_FLAG_OVERLAPPED, nullptr);
   if (pipe != INVALID_HANDLE_VALUE) return Stream(reinterpret_cast<NativeHandle>(pipe));
   const DWORD failure = GetLastError();
   if (failure == ERROR_PIPE_BUSY) return std::nullopt;
   fail("cannot connect to " + path, failure);
}

Stream Stream::connectTcp(const std::string& address, std::uint16_t port)
{
   const sockaddr_in peer = tcpAddress(address, port);
   Stream stream(static_cast<NativeHandle>(openSocket()));
   const SOCKET own = static_cast<SOCKET>(stream.handle_);
   if (connect(own, reinterpret_cast<const sockaddr*>(&peer), sizeof peer) != 0)
      fail("cannot connect to " + address + ":" + std::to_string(port), GetLastError());
   const BOOL on = TRUE;
   setsockopt(own, IPPROTO_TCP, TCP_NODELAY, reinterpret_cast<const char*>(&on), sizeof on);
   return stream;
}

StopSignal::StopSignal()
   : handle_(reinterpret_cast<NativeHandle>(CreateEventA(nullptr, TRUE, FALSE, nullptr)))
{
   if (!handle_) fail("cannot make a stop signal", GetLastError());
}

StopSignal::~StopSignal()
{
   CloseHandle(handleOf(handle_));
}

void StopSignal::raise()
{
   if (!SetEvent(handleOf(handle_))) fail("cannot raise a stop signal", GetLastError());
}

Stream::Stream(NativeHandle connected)
   : handle_(connected)
{
}

Stream::Stream(Stream&& other) noexcept
   : handle_(std::exchange(other.handle_, kNoHandle))
   , end_(other.end_)
{
}

Stream::~Stream()
{
   close();
}

void Stream::endWith(int error)
{
   switch (static_cast<DWORD>(error)) {
   case ERROR_NETNAME_DELETED:
   case ERROR_PIPE_NOT_CONNECTED:
   case WSAECONNRESET:
   case WSAECONNABORTED:
      end_ = StreamEnd::kReset;
      return;
   default:
      end_ = StreamEnd::kClosed;
   }
}

std::size_t Stream::read(char* buffer, std::size_t length, const StopSignal& stop)
{
   if (end_ != StreamEnd::kOpen || handle_ == kNoHandle) return 0;
   Transfer transfer;
   if (!transfer.wait(handleOf(handle_), startReading(handle_, buffer, length, transfer), stop))
      end_ = StreamEnd::kStopped;
   else if (transfer.failure() != 0)
      endWith(static_cast<int>(transfer.failure()));
   else if (transfer.count() == 0)
      endWith(isReset(handle_) ? WSAECONNRESET : 0);
   else
      return transfer.count();
   return 0;
}

bool Stream::write(std::string_view bytes, const StopSignal& stop)
{
   while (!bytes.empty()) {
      if (end_ != StreamEnd::kOpen || handle_ == kNoHandle) return false;
      Transfer transfer;
      const bool hasEnded =
         isSocket(handle_)
            ? transfer.waitOnSocket(static_cast<SOCKET>(handle_),
                                    startWriting(handle_, bytes, transfer), stop)
            : transfer.wait(handleOf(handle_), startWriting(handle_, bytes, transfer), stop);
      if (!hasEnded)
         end_ = StreamEnd::kStopped;
      else if (transfer.failure() != 0)
         endWith(static_cast<int>(transfer.failure()));
      bytes.remove_prefix(transfer.count());
   }
   return true;
}

void Stream::close()
{
   if (handle_ == kNoHandle) return;
   const NativeHandle held = std::exchange(handle_, kNoHandle);
   if (isSocket(held))
      closesocket(static_cast<SOCKET>(held));
   else
      CloseHandle(handleOf(held));
}

void Stream::reset()
{
   if (handle_ != kNoHandle && isSocket(handle_)) {
      const linger atOnce = {1, 0};
      setsockopt(static_cast<SOCKET>(handle_), SOL_SOCKET, SO_LINGER,
                 reinterpret_cast<const char*>(&atOnce), sizeof atOnce);
   } else if (handle_ != kNoHandle) {
      DisconnectNamedPipe(handleOf(handle_));
   }
   close();
}

std::uint32_t processNumber()
{
   return GetCurrentProcessId();
}

void nameThread(const std::string&) {} // debuggers here ask the program for no names

} // namespace zerova::test
