// IPv4 TCP client sockets, as the blocking socket calls need them. Addresses and ports are in host
// byte order. Nothing here throws, and every call that the system interrupts is resumed.
#ifndef PLATFORM_SOCKET_H
#define PLATFORM_SOCKET_H

#include <cstddef>
#include <cstdint>

namespace platform {

using Socket = std::intptr_t;
inline constexpr Socket kInvalidSocket = -1;

// The system's socket library, where it has one that must be started and released.
bool startSockets();
bool stopSockets();

// Never inherited by a child process. kInvalidSocket on failure.
Socket createTcpSocket();
// A socket that no wait finds ready as long as nobody wants to interrupt it.
Socket createWakeSocket();
// For a socket that was not created here.
bool keepFromChildren(Socket socket);
bool setNonBlocking(Socket socket);
bool closeSocket(Socket socket); // false for an invalid one
void shutDownSending(Socket socket);

enum class ConnectStart
{
   connected,
   underWay,
   failed
};
ConnectStart startConnect(Socket socket, uint32_t address, uint16_t port);

// What a wait looks for on one socket and, afterwards, what it found of that. readable: bytes or
// the end of the data. writable: connected, with room. errored: a connect that failed, urgent data,
// and on some systems a broken connection, which is readable on others. A socket whose connect failed
// is errored and not writable.
struct SocketWatch
{
   Socket socket; // may be invalid: then nothing is found on it
   bool readable;
   bool writable;
   bool errored;
};

enum class SocketWait
{
   ready,
   timedOut,
   failed
};
// At most kMaxWatched sockets, whatever their numbers. A negative time is no limit.
inline constexpr size_t kMaxWatched = 2;
SocketWait waitForSockets(SocketWatch* watches, size_t count, int32_t milliseconds);

// The count of bytes; 0 at the end of the data and below 0 on failure.
int32_t receiveBytes(Socket socket, void* buffer, int32_t length);
int32_t sendBytes(Socket socket, const void* data, int32_t length);

// Dotted text in any form that inet_addr takes; all ones for anything else.
uint32_t addressOfDottedText(const char* text);
// The first IPv4 address of a name, in the order of the resolver. Blocks for as long as the system's
// resolver does; may run on several threads at once.
bool resolveName(const char* name, uint32_t& address);

// Milliseconds since some moment, modulo 2^32.
uint32_t tickCount();

} // namespace platform

#endif
