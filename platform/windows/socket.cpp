#include "platform/socket.h"

#include "platform/windows/uninherited_socket.h"

#include <cstring>
#include <windows.h>

namespace platform {
namespace {

static_assert(kMaxWatched <= FD_SETSIZE);

SOCKET socketOf(Socket socket)
{
   return static_cast<SOCKET>(socket);
}

void addIf(bool isWanted, Socket socket, fd_set& set)
{
   if (!isWanted || socket == kInvalidSocket) return;
   set.fd_array[set.fd_count++] = socketOf(socket);
}

bool holds(fd_set& set, Socket socket)
{
   return FD_ISSET(socketOf(socket), &set) != 0;
}

} // namespace

bool startSockets()
{
   WSADATA told;
   return WSAStartup(MAKEWORD(1, 1), &told) == 0;
}

bool stopSockets()
{
   return WSACleanup() == 0;
}

Socket createTcpSocket()
{
   return static_cast<Socket>(uninheritedSocket(AF_INET, SOCK_STREAM, 0));
}

// Unconnected, which select finds neither ready nor in error.
Socket createWakeSocket()
{
   return createTcpSocket();
}

bool keepFromChildren(Socket socket)
{
   return SetHandleInformation(reinterpret_cast<HANDLE>(socket), HANDLE_FLAG_INHERIT, 0) != FALSE;
}

bool setNonBlocking(Socket socket)
{
   u_long isWanted = 1;
   return ioctlsocket(socketOf(socket), static_cast<long>(FIONBIO), &isWanted) == 0;
}

bool closeSocket(Socket socket)
{
   return closesocket(socketOf(socket)) == 0;
}

void shutDownSending(Socket socket)
{
   shutdown(socketOf(socket), SD_SEND);
}

ConnectStart startConnect(Socket socket, uint32_t address, uint16_t port)
{
   sockaddr_in peer{};
   peer.sin_family = AF_INET;
   peer.sin_port = htons(port);
   peer.sin_addr.s_addr = htonl(address);
   if (connect(socketOf(socket), reinterpret_cast<const sockaddr*>(&peer), sizeof(peer)) == 0)
      return ConnectStart::connected;
   return WSAGetLastError() == WSAEWOULDBLOCK ? ConnectStart::underWay : ConnectStart::failed;
}

// A set is a list of sockets here, so that their numbers do not matter.
SocketWait waitForSockets(SocketWatch* watches, size_t count, int32_t milliseconds)
{
   fd_set readable{};
   fd_set writable{};
   fd_set errored{};
   for (size_t i = 0; i < count; ++i) {
      addIf(watches[i].readable, watches[i].socket, readable);
      addIf(watches[i].writable, watches[i].socket, writable);
      addIf(watches[i].errored, watches[i].socket, errored);
   }
   timeval limit{milliseconds / 1000, milliseconds % 1000 * 1000};
   const int ready = select(0, &readable, &writable, &errored, milliseconds < 0 ? nullptr : &limit);
   if (ready < 0) return SocketWait::failed;
   if (ready == 0) return SocketWait::timedOut;
   for (size_t i = 0; i < count; ++i) {
      watches[i].readable = holds(readable, watches[i].socket);
      watches[i].writable = holds(writable, watches[i].socket);
      watches[i].errored = holds(errored, watches[i].socket);
   }
   return SocketWait::ready;
}

int32_t receiveBytes(Socket socket, void* buffer, int32_t length)
{
   return recv(socketOf(socket), static_cast<char*>(buffer), length, 0);
}

int32_t sendBytes(Socket socket, const void* data, int32_t length)
{
   return send(socketOf(socket), static_cast<const char*>(data), length, 0);
}

uint32_t addressOfDottedText(const char* text)
{
   return ntohl(inet_addr(text));
}

// Each thread has an answer of its own.
bool resolveName(const char* name, uint32_t& address)
{
   const hostent* const found = gethostbyname(name);
   if (!found || found->h_addrtype != AF_INET || !found->h_addr_list || !found->h_addr_list[0])
      return false;
   uint32_t inNetworkOrder = 0;
   std::memcpy(&inNetworkOrder, found->h_addr_list[0], sizeof inNetworkOrder);
   address = ntohl(inNetworkOrder);
   return true;
}

uint32_t tickCount()
{
   return GetTickCount();
}

} // namespace platform
