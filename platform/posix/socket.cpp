#include "platform/socket.h"

#include "platform/posix/resumed_poll.h"

#include <arpa/inet.h>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace platform {
namespace {

// What one host's names and addresses take: an answer of the network has at most 64 KiB, a machine's
// own list of hosts may be longer.
constexpr size_t kFirstHostBytes = 1024;
constexpr size_t kMostHostBytes = size_t{1024} * 1024;

int descriptorOf(Socket socket)
{
   return static_cast<int>(socket);
}

short eventsOf(const SocketWatch& watch)
{
   int events = 0;
   if (watch.readable) events |= POLLIN;
   if (watch.writable) events |= POLLOUT;
   if (watch.errored) events |= POLLPRI;
   return static_cast<short>(events);
}

// poll tells of errors and hang-ups whether asked or not, and a failed connect as everything at
// once.
void noteFound(SocketWatch& watch, int found)
{
   const bool broken = (found & POLLERR) != 0;
   watch.readable = watch.readable && (found & (POLLIN | POLLHUP)) != 0;
   watch.writable = watch.writable && (found & POLLOUT) != 0 && (found & (POLLERR | POLLHUP)) == 0;
   watch.errored = watch.errored && (broken || (found & POLLPRI) != 0);
}

} // namespace

bool startSockets()
{
   return true;
}

bool stopSockets()
{
   return true;
}

Socket createTcpSocket()
{
   return socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
}

// Not TCP: an unconnected TCP socket polls as hung up here and would interrupt every wait. A
// datagram socket without a port can receive nothing and is never ready to read.
Socket createWakeSocket()
{
   return socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
}

bool keepFromChildren(Socket socket)
{
   return fcntl(descriptorOf(socket), F_SETFD, FD_CLOEXEC) == 0;
}

bool setNonBlocking(Socket socket)
{
   const int flags = fcntl(descriptorOf(socket), F_GETFL);
   return flags >= 0 && fcntl(descriptorOf(socket), F_SETFL, flags | O_NONBLOCK) == 0;
}

bool closeSocket(Socket socket)
{
   // An interrupted close has closed all the same; to repeat it could hit another thread's
   // descriptor.
   return socket != kInvalidSocket && (close(descriptorOf(socket)) == 0 || errno == EINTR);
}

void shutDownSending(Socket socket)
{
   shutdown(descriptorOf(socket), SHUT_WR);
}

ConnectStart startConnect(Socket socket, uint32_t address, uint16_t port)
{
   sockaddr_in peer{};
   peer.sin_family = AF_INET;
   peer.sin_port = htons(port);
   peer.sin_addr.s_addr = htonl(address);
   if (connect(descriptorOf(socket), reinterpret_cast<const sockaddr*>(&peer), sizeof(peer)) == 0)
      return ConnectStart::connected;
   // A connect that was interrupted goes on by itself.
   return errno == EINPROGRESS || errno == EINTR ? ConnectStart::underWay : ConnectStart::failed;
}

SocketWait waitForSockets(SocketWatch* watches, size_t count, int32_t time)
{
   pollfd polled[kMaxWatched];
   for (size_t i = 0; i < count; ++i)
      polled[i] = {descriptorOf(watches[i].socket), eventsOf(watches[i]), 0};
   const int ready = resumedPoll(polled, count, time);
   if (ready < 0) return SocketWait::failed;
   if (ready == 0) return SocketWait::timedOut;
   for (size_t i = 0; i < count; ++i) {
      if ((polled[i].revents & POLLNVAL) != 0) return SocketWait::failed;
      noteFound(watches[i], polled[i].revents);
   }
   return SocketWait::ready;
}

int32_t receiveBytes(Socket socket, void* buffer, int32_t length)
{
   ssize_t count = 0;
   do
      count = recv(descriptorOf(socket), buffer, static_cast<size_t>(length), 0);
   while (count < 0 && errno == EINTR);
   return static_cast<int32_t>(count);
}

int32_t sendBytes(Socket socket, const void* data, int32_t length)
{
   ssize_t count = 0;
   do
      count = send(descriptorOf(socket), data, static_cast<size_t>(length), MSG_NOSIGNAL);
   while (count < 0 && errno == EINTR);
   return static_cast<int32_t>(count);
}

uint32_t addressOfDottedText(const char* text)
{
   return ntohl(inet_addr(text));
}

// Not getaddrinfo, which sorts what the resolver has answered.
bool resolveName(const char* name, uint32_t& address)
{
   char* room = nullptr;
   bool isFound = false;
   for (size_t size = kFirstHostBytes; size <= kMostHostBytes; size *= 4) {
      char* const larger = static_cast<char*>(std::realloc(room, size));
      if (!larger) break;
      room = larger;
      hostent host{};
      hostent* found = nullptr;
      int reason = 0;
      if (gethostbyname_r(name, &host, room, size, &found, &reason) == ERANGE) continue;
      isFound = found && found->h_addrtype == AF_INET && found->h_addr_list[0];
      if (isFound) std::memcpy(&address, found->h_addr_list[0], sizeof address);
      break;
   }
   std::free(room);
   if (isFound) address = ntohl(address);
   return isFound;
}

uint32_t tickCount()
{
   const auto now = std::chrono::steady_clock::now().time_since_epoch();
   return static_cast<uint32_t>(std::chrono::duration_cast<std::chrono::milliseconds>(now).count());
}

} // namespace platform
