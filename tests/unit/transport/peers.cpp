#include "unit/transport/peers.h"

#include <arpa/inet.h>
#include <atomic>
#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <netinet/in.h>
#include <poll.h>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/un.h>
#include <system_error>
#include <unistd.h>

namespace peers {
namespace {

int checked(int result, const char* what)
{
   if (result < 0) throw std::system_error(errno, std::generic_category(), what);
   return result;
}

std::string endpointPath(const std::string& name)
{
   return std::string(ZEROVA_ENDPOINT_DIR) + "/" + name;
}

sockaddr_un localAddress(const std::string& path)
{
   sockaddr_un address{};
   address.sun_family = AF_UNIX;
   if (path.size() >= sizeof(address.sun_path))
      throw std::runtime_error("the build folder's path is too long for a local endpoint: " + path);
   path.copy(address.sun_path, path.size());
   return address;
}

sockaddr_in tcpAddress(uint32_t address, uint16_t port)
{
   sockaddr_in result{};
   result.sin_family = AF_INET;
   result.sin_addr.s_addr = htonl(address);
   result.sin_port = htons(port);
   return result;
}

const sockaddr* generic(const void* address)
{
   return static_cast<const sockaddr*>(address);
}

int tcpSocket()
{
   return checked(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0), "socket");
}

uint16_t portOf(const Descriptor& socket)
{
   sockaddr_in bound{};
   socklen_t size = sizeof(bound);
   checked(getsockname(socket.get(), reinterpret_cast<sockaddr*>(&bound), &size), "getsockname");
   return ntohs(bound.sin_port);
}

} // namespace

Descriptor& Descriptor::operator=(Descriptor&& other) noexcept
{
   if (this != &other) {
      close();
      number_ = other.release();
   }
   return *this;
}

int Descriptor::release()
{
   const int number = number_;
   number_ = -1;
   return number;
}

void Descriptor::close()
{
   if (number_ >= 0) ::close(number_);
   number_ = -1;
}

void sendAll(const Descriptor& connection, std::string_view bytes)
{
   while (!bytes.empty()) {
      const ssize_t sent = send(connection.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
      bytes.remove_prefix(static_cast<size_t>(checked(static_cast<int>(sent), "send")));
   }
}

std::string receive(const Descriptor& connection, size_t count)
{
   std::string bytes(count, '\0');
   size_t have = 0;
   while (have < count) {
      const ssize_t got = recv(connection.get(), bytes.data() + have, count - have, 0);
      if (got <= 0) break;
      have += static_cast<size_t>(got);
   }
   bytes.resize(have);
   return bytes;
}

std::string receiveThrough(const Descriptor& connection, std::string_view ending)
{
   std::string all;
   while (!all.ends_with(ending)) {
      const std::string next = receive(connection, 1);
      if (next.empty()) break;
      all += next;
   }
   return all;
}

std::string receiveToEnd(const Descriptor& connection)
{
   std::string all;
   for (std::string some; !(some = receive(connection, 4096)).empty();)
      all += some;
   return all;
}

void reset(Descriptor& connection)
{
   const linger atOnce{1, 0};
   setsockopt(connection.get(), SOL_SOCKET, SO_LINGER, &atOnce, sizeof(atOnce));
   connection.close();
}

size_t openDescriptors()
{
   size_t count = 0;
   for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
      static_cast<void>(entry);
      ++count;
   }
   return count;
}

bool isOpen(int descriptor)
{
   return fcntl(descriptor, F_GETFD) >= 0;
}

Descriptor Listener::accept() const
{
   return Descriptor(checked(accept4(socket_.get(), nullptr, nullptr, SOCK_CLOEXEC), "accept"));
}

bool Listener::nobodyWaits() const
{
   pollfd watched{socket_.get(), POLLIN, 0};
   return poll(&watched, 1, 0) == 0;
}

std::string unusedPipeName()
{
   static std::atomic<int> next{0};
   return "unit." + std::to_string(getpid()) + "." + std::to_string(next++);
}

LocalListener::LocalListener(int backlog)
   : name_(unusedPipeName())
   , path_(endpointPath(name_))
{
   std::error_code ignored; // bind tells what matters
   std::filesystem::create_directories(ZEROVA_ENDPOINT_DIR, ignored);
   socket_ = Descriptor(checked(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0), "socket"));
   const sockaddr_un address = localAddress(path_);
   checked(
      bind(socket_.get(), generic(&address), sizeof(address)),
      "cannot make a local endpoint; point ZEROVA_ENDPOINT_DIR to a folder that you may write");
   checked(listen(socket_.get(), backlog), "listen");
}

LocalListener::~LocalListener()
{
   unlink(path_.c_str());
}

std::vector<Descriptor> LocalListener::fill() const
{
   const sockaddr_un address = localAddress(path_);
   std::vector<Descriptor> clients;
   for (;;) {
      Descriptor client(
         checked(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0), "socket"));
      if (connect(client.get(), generic(&address), sizeof(address)) != 0) {
         if (errno == EAGAIN) return clients;
         checked(-1, "connect");
      }
      clients.push_back(std::move(client));
   }
}

// Processes that run side by side have different numbers; should two meet all the same, the next
// address is tried.
TcpListener::TcpListener(uint16_t port)
{
   static std::atomic<uint32_t> next{static_cast<uint32_t>(getpid()) << 4};
   while (!tryToListen(0x7F400000 | (next++ & 0x3FFFFF), port)) {
   }
}

TcpListener TcpListener::beside(const TcpListener& other)
{
   TcpListener listener(0);
   if (!listener.tryToListen(other.address_, 0)) throw std::runtime_error("no port is free");
   return listener;
}

bool TcpListener::tryToListen(uint32_t address, uint16_t port)
{
   socket_ = Descriptor(tcpSocket());
   const int on = 1;
   setsockopt(socket_.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on));
   const sockaddr_in own = tcpAddress(address, port);
   if (bind(socket_.get(), generic(&own), sizeof(own)) != 0) {
      if (errno == EADDRINUSE) return false;
      checked(-1, "bind");
   }
   checked(listen(socket_.get(), 8), "listen");
   address_ = address;
   port_ = portOf(socket_);
   return true;
}

std::string TcpListener::host() const
{
   in_addr address{htonl(address_)};
   char text[INET_ADDRSTRLEN] = "";
   inet_ntop(AF_INET, &address, text, sizeof(text));
   return text;
}

RefusingPort::RefusingPort()
   : socket_(tcpSocket())
{
   const sockaddr_in any = tcpAddress(0x7F000001, 0);
   checked(bind(socket_.get(), generic(&any), sizeof(any)), "bind");
   port_ = portOf(socket_);
}

} // namespace peers
