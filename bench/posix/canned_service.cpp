#include "bench/canned_service.h"
#include "bench/machine.h"
#include "bench/wire.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>
#include <vector>

namespace bench {

namespace {

constexpr uint16_t kLocatorPort = 3580;

[[noreturn]] void fail(const char* what)
{
   std::perror(what);
   std::exit(1);
}

sockaddr_un localAddress(const std::string& path)
{
   sockaddr_un address{};
   address.sun_family = AF_UNIX;
   if (path.size() >= sizeof address.sun_path) {
      std::fprintf(stderr, "endpoint name too long: %s\n", path.c_str());
      std::exit(1);
   }
   std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
   return address;
}

sockaddr_in tcpAddress(const std::string& host, uint16_t port)
{
   sockaddr_in address{};
   address.sin_family = AF_INET;
   address.sin_port = htons(port);
   if (inet_pton(AF_INET, host.c_str(), &address.sin_addr) != 1) fail("loopback address");
   return address;
}

template <typename Address>
int listenOn(const Address& address, const char* what)
{
   const auto* const plain = reinterpret_cast<const sockaddr*>(&address);
   const int listener = socket(plain->sa_family, SOCK_STREAM | SOCK_CLOEXEC, 0);
   const int on = 1;
   setsockopt(listener, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
   if (listener < 0 || bind(listener, plain, sizeof address) != 0 || listen(listener, 128) != 0)
      fail(what);
   return listener;
}

int portOf(int listener)
{
   sockaddr_in address{};
   socklen_t size = sizeof address;
   getsockname(listener, reinterpret_cast<sockaddr*>(&address), &size);
   return ntohs(address.sin_port);
}

bool receiveAll(int socket, char* data, size_t size)
{
   while (size > 0) {
      const ssize_t count = recv(socket, data, size, 0);
      if (count <= 0) return false;
      data += count;
      size -= static_cast<size_t>(count);
   }
   return true;
}

bool sendAll(int socket, const std::string& data)
{
   size_t sent = 0;
   while (sent < data.size()) {
      const ssize_t count = send(socket, data.data() + sent, data.size() - sent, MSG_NOSIGNAL);
      if (count <= 0) return false;
      sent += static_cast<size_t>(count);
   }
   return true;
}

void serve(int socket, const Replies& framedReplies, std::chrono::microseconds work)
{
   const int on = 1;
   setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on,
              sizeof on); // fails on a local socket, as it may
   std::vector<char> body;
   for (char length[4]; receiveAll(socket, length, sizeof length);) {
      body.resize(lengthOf(length));
      if (!receiveAll(socket, body.data(), body.size())) break;
      if (work.count() > 0) std::this_thread::sleep_for(work);
      const auto reply = framedReplies.find(methodOf(body));
      if (reply == framedReplies.end() || !sendAll(socket, reply->second)) break;
   }
   close(socket);
}

void answerLocator(int socket, int port)
{
   std::string request;
   for (char byte = 0;
        request.find("\r\n\r\n") == std::string::npos && recv(socket, &byte, 1, 0) == 1;)
      request += byte;
   sendAll(socket, "HTTP/1.0 200 OK\r\n\r\nPort=" + std::to_string(port) + "\r\n");
   close(socket);
}

[[noreturn]] void run(int local, int tcp, int locator, int lifeline, const Replies& replies,
                      std::chrono::microseconds work)
{
   const int port = portOf(tcp);
   for (;;) {
      pollfd waits[] = {
         {local, POLLIN, 0}, {tcp, POLLIN, 0}, {locator, POLLIN, 0}, {lifeline, POLLIN, 0}};
      if (poll(waits, 4, -1) < 0) continue;
      if (waits[3].revents) _exit(0);
      if (waits[2].revents) answerLocator(accept(locator, nullptr, nullptr), port);
      for (int i = 0; i < 2; ++i)
         if (waits[i].revents)
            std::thread(serve, accept(waits[i].fd, nullptr, nullptr), std::cref(replies), work)
               .detach();
   }
}

} // namespace

class CannedService::Endpoints
{
public:
   Endpoints(const std::string& endpointFolder, const std::string& host, const Replies& replies,
             int core, std::chrono::microseconds work)
      : endpoint_(endpointFolder + "/com.zerova")
   {
      mkdir(endpointFolder.c_str(), 0777);
      const int local = listenOn(localAddress(endpoint_), endpoint_.c_str());
      const int tcp = listenOn(tcpAddress(host, 0), "TCP endpoint");
      const int locator = listenOn(tcpAddress(host, kLocatorPort), "locator");
      port_ = portOf(tcp);
      int pipeEnds[2];
      if (pipe(pipeEnds) != 0) fail("pipe");

      Replies whole;
      for (const auto& [name, body] : replies)
         whole[name] = framed(body);

      process_ = fork();
      if (process_ < 0) fail("fork");
      if (process_ == 0) {
         ::close(pipeEnds[1]);
         if (core >= 0) pinToCore(core);
         run(local, tcp, locator, pipeEnds[0], whole, work);
      }
      for (const int descriptor : {local, tcp, locator, pipeEnds[0]})
         ::close(descriptor);
      lifeline_ = pipeEnds[1];
   }
   ~Endpoints()
   {
      ::close(lifeline_);
      waitpid(process_, nullptr, 0);
      unlink(endpoint_.c_str());
      rmdir(endpoint_.substr(0, endpoint_.rfind('/')).c_str());
   }
   Endpoints(const Endpoints&) = delete;
   Endpoints& operator=(const Endpoints&) = delete;

   int port() const { return port_; }

private:
   std::string endpoint_;
   int port_ = 0;
   pid_t process_ = -1;
   int lifeline_ = -1; // the process ends when this closes
};

CannedService::CannedService(const std::string& endpointFolder, const std::string& host,
                             const Replies& replies, int core, std::chrono::microseconds work)
   : endpoints_(std::make_unique<Endpoints>(endpointFolder, host, replies, core, work))
{
}

CannedService::~CannedService() = default;

int CannedService::port() const
{
   return endpoints_->port();
}

class Connection::End
{
public:
   template <typename Address>
   End(const Address& address, const char* what)
      : socket(::socket(reinterpret_cast<const sockaddr*>(&address)->sa_family,
                        SOCK_STREAM | SOCK_CLOEXEC, 0))
   {
      if (connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
         fail(what);
   }
   ~End() { ::close(socket); }
   End(const End&) = delete;
   End& operator=(const End&) = delete;

   const int socket;
};

Connection::Connection(std::unique_ptr<End> end)
   : end_(std::move(end))
{
}

Connection::Connection(Connection&&) noexcept = default;

Connection::~Connection() = default;

Connection Connection::local(const std::string& endpointFolder)
{
   return Connection(std::make_unique<End>(localAddress(endpointFolder + "/com.zerova"),
                                           "connect to the local endpoint"));
}

Connection Connection::tcp(const std::string& host, int port)
{
   auto end = std::make_unique<End>(tcpAddress(host, static_cast<uint16_t>(port)),
                                    "connect to the TCP endpoint");
   const int on = 1;
   setsockopt(end->socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
   return Connection(std::move(end));
}

void Connection::send(const std::string& bytes)
{
   if (::send(end_->socket, bytes.data(), bytes.size(), MSG_NOSIGNAL) < 0) fail("send");
}

void Connection::receive(char* bytes, size_t count)
{
   if (!receiveAll(end_->socket, bytes, count)) fail("receive");
}

} // namespace bench
