#include "service/posix/socket_address.h"
#include "service/stream.h"

#include <netinet/tcp.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace zerova::test {

namespace {

template <typename Address>
int bindTo(int fd, const Address& address)
{
   return ::bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 ? 0 : errno;
}

// True if the file is a socket on which no process listens any more.
bool isLeftOver(const sockaddr_un& address)
{
   const int fd = openSocket(AF_UNIX);
   const int result = ::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address);
   const int error = errno;
   ::close(fd);
   return result != 0 && error == ECONNREFUSED;
}

// Makes the folder and those that it stands in, and adds what was not there before to made.
void makeFolders(const std::filesystem::path& folder, std::vector<std::string>& made)
{
   std::error_code error;
   if (std::filesystem::is_directory(folder, error)) return;
   if (folder.has_relative_path()) makeFolders(folder.parent_path(), made);
   if (std::filesystem::create_directory(folder, error)) made.push_back(folder.string());
   if (error)
      throw std::runtime_error("cannot make the folder " + folder.string() +
                               " for local endpoints (" + error.message() +
                               "); run as a user who may write there, or configure with another "
                               "ZEROVA_ENDPOINT_DIR");
}

} // namespace

std::string buildEndpointDir()
{
   return ZEROVA_ENDPOINT_DIR;
}

Listener Listener::local(const std::string& name, const std::string& folder, int backlog)
{
   Listener listener;
   const std::string path = folder + "/" + name;
   const sockaddr_un address = localAddress(path);
   listener.description_ = path;
   listener.handle_ = openSocket(AF_UNIX);
   const int fd = static_cast<int>(listener.handle_);
   int error = ENOENT;
   // Another test's end may remove the folder between its making and the bind.
   for (int tries = 0; tries < 100 && error == ENOENT; ++tries) {
      makeFolders(std::filesystem::path(path).parent_path(), listener.madeFolders_);
      error = bindTo(fd, address);
   }
   if (error == EADDRINUSE && isLeftOver(address)) {
      ::unlink(path.c_str());
      error = bindTo(fd, address);
   }
   if (error == EADDRINUSE) throw std::runtime_error("another process serves the endpoint " + path);
   if (error) fail("cannot listen at " + path, error);
   listener.socketFile_ = path;
   if (::listen(fd, backlog) != 0) fail("cannot listen at " + path, errno);
   return listener;
}

Listener Listener::tcp(const std::string& text, std::uint16_t port, int backlog)
{
   Listener listener;
   sockaddr_in address = tcpAddress(text, port);
   listener.handle_ = openSocket(AF_INET);
   const int fd = static_cast<int>(listener.handle_);
   const int on = 1;
   ::setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
   if (const int error = bindTo(fd, address))
      fail("cannot listen at " + text + ":" + std::to_string(port), error);
   if (::listen(fd, backlog) != 0)
      fail("cannot listen at " + text + ":" + std::to_string(port), errno);
   socklen_t length = sizeof address;
   if (::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length) != 0)
      fail("cannot learn the port of " + text, errno);
   listener.port_ = ntohs(address.sin_port);
   listener.description_ = text + ":" + std::to_string(listener.port_);
   return listener;
}

Listener::Listener(Listener&& other) noexcept
   : handle_(std::exchange(other.handle_, kNoHandle))
   , port_(other.port_)
   , description_(std::move(other.description_))
   , socketFile_(std::exchange(other.socketFile_, {}))
   , madeFolders_(std::exchange(other.madeFolders_, {}))
{
}

Listener::~Listener()
{
   if (handle_ != kNoHandle) ::close(static_cast<int>(handle_));
   if (!socketFile_.empty()) ::unlink(socketFile_.c_str());
   // Refused while others use a folder.
   for (auto folder = madeFolders_.rbegin(); folder != madeFolders_.rend(); ++folder)
      ::rmdir(folder->c_str());
}

std::optional<Stream> Listener::accept(const StopSignal& stop)
{
   for (;;) {
      pollfd waits[2] = {{static_cast<int>(handle_), POLLIN, 0},
                         {static_cast<int>(stop.handle()), POLLIN, 0}};
      if (::poll(waits, 2, -1) < 0 && errno != EINTR) fail("cannot wait at " + description_, errno);
      if (waits[1].revents) return std::nullopt;
      const int fd =
         ::accept4(static_cast<int>(handle_), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
      if (fd >= 0) {
         const int on = 1;
         if (port_) ::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
         return Stream(fd);
      }
      // The client may be gone again before it was accepted.
      if (errno != EAGAIN && errno != EINTR && errno != ECONNABORTED)
         fail("cannot accept at " + description_, errno);
   }
}

std::optional<ReservedAddress> ReservedAddress::take(const std::string& text, std::uint16_t port)
{
   const sockaddr_in address = tcpAddress(text, port);
   ReservedAddress reserved(openSocket(AF_INET));
   const int error = bindTo(static_cast<int>(reserved.handle_), address);
   if (error == EADDRINUSE) return std::nullopt;
   if (error) fail("cannot reserve " + text + ":" + std::to_string(port), error);
   return reserved;
}

ReservedAddress::ReservedAddress(ReservedAddress&& other) noexcept
   : handle_(std::exchange(other.handle_, kNoHandle))
{
}

ReservedAddress::~ReservedAddress()
{
   if (handle_ != kNoHandle) ::close(static_cast<int>(handle_));
}

} // namespace zerova::test
