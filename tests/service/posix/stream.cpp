#include "service/stream.h"

#include "service/posix/socket_address.h"

#include <netinet/tcp.h>
#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <utility>

namespace zerova::test {

namespace {

// Returns 0 or the error, with fd closed.
template <typename Address>
int tryConnectTo(const Address& address, int fd)
{
   int error = 0;
   if (::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
      error = errno;
   if (error == EINPROGRESS) {
      pollfd wait = {fd, POLLOUT, 0};
      while (::poll(&wait, 1, -1) < 0 && errno == EINTR) {
      }
      socklen_t length = sizeof error;
      ::getsockopt(fd, SOL_SOCKET, SO_ERROR, &error, &length);
   }
   if (error != 0) ::close(fd);
   return error;
}

template <typename Address>
int connectTo(int family, const Address& address, const std::string& description)
{
   const int fd = openSocket(family);
   if (const int error = tryConnectTo(address, fd)) fail("cannot connect to " + description, error);
   return fd;
}

} // namespace

Stream Stream::connectLocal(const std::string& name, const std::string& folder)
{
   const std::string path = folder + "/" + name;
   return Stream(connectTo(AF_UNIX, localAddress(path), path));
}

std::optional<Stream> Stream::tryConnectLocal(const std::string& name, const std::string& folder)
{
   const std::string path = folder + "/" + name;
   const sockaddr_un address = localAddress(path);
   const int fd = openSocket(AF_UNIX);
   const int error = tryConnectTo(address, fd);
   if (error == EAGAIN) return std::nullopt;
   if (error) fail("cannot connect to " + path, error);
   return Stream(fd);
}

Stream Stream::connectTcp(const std::string& address, std::uint16_t port)
{
   const int fd =
      connectTo(AF_INET, tcpAddress(address, port), address + ":" + std::to_string(port));
   const int on = 1;
   ::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
   return Stream(fd);
}

StopSignal::StopSignal()
   : handle_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
   if (handle_ < 0) throw std::system_error(errno, std::generic_category(), "eventfd");
}

StopSignal::~StopSignal()
{
   ::close(static_cast<int>(handle_));
}

void StopSignal::raise()
{
   const std::uint64_t one = 1;
   // Nobody reads it down again, so the descriptor stays readable; a full counter is raised
   // already.
   if (::write(static_cast<int>(handle_), &one, sizeof one) < 0 && errno != EAGAIN)
      throw std::system_error(errno, std::generic_category(), "raising a stop signal");
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

bool Stream::waitUntilReady(short events, const StopSignal& stop)
{
   if (handle_ == kNoHandle) return false;
   pollfd waits[2] = {{static_cast<int>(handle_), events, 0},
                      {static_cast<int>(stop.handle()), POLLIN, 0}};
   while (::poll(waits, 2, -1) < 0) {
      if (errno != EINTR) throw std::system_error(errno, std::generic_category(), "poll");
   }
   if (waits[1].revents == 0) return true;
   end_ = StreamEnd::kStopped;
   return false;
}

void Stream::endWith(int error)
{
   end_ = error == 0 || error == EPIPE ? StreamEnd::kClosed : StreamEnd::kReset;
}

std::size_t Stream::read(char* buffer, std::size_t length, const StopSignal& stop)
{
   while (end_ == StreamEnd::kOpen && waitUntilReady(POLLIN, stop)) {
      const ssize_t count = ::recv(static_cast<int>(handle_), buffer, length, 0);
      if (count > 0) return static_cast<std::size_t>(count);
      if (count == 0)
         endWith(0);
      else if (errno != EAGAIN && errno != EINTR)
         endWith(errno);
   }
   return 0;
}

bool Stream::write(std::string_view bytes, const StopSignal& stop)
{
   while (!bytes.empty()) {
      if (end_ != StreamEnd::kOpen || !waitUntilReady(POLLOUT, stop)) return false;
      const ssize_t count =
         ::send(static_cast<int>(handle_), bytes.data(), bytes.size(), MSG_NOSIGNAL);
      if (count >= 0)
         bytes.remove_prefix(static_cast<std::size_t>(count));
      else if (errno != EAGAIN && errno != EINTR)
         endWith(errno);
   }
   return true;
}

void Stream::close()
{
   if (handle_ != kNoHandle) ::close(static_cast<int>(std::exchange(handle_, kNoHandle)));
}

void Stream::reset()
{
   const linger atOnce = {1, 0};
   if (handle_ != kNoHandle)
      ::setsockopt(static_cast<int>(handle_), SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
   close();
}

std::uint32_t processNumber()
{
   return static_cast<std::uint32_t>(::getpid());
}

void nameThread(const std::string& name)
{
   ::pthread_setname_np(::pthread_self(), name.substr(0, 15).c_str());
}

} // namespace zerova::test
