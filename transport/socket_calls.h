// Blocking IPv4 TCP client calls with time-outs, on sockets that do not block underneath.
//
// Non-zero is success unless a comment says otherwise; no call throws or tells a reason. Time-outs
// are in milliseconds, below 0 for no limit. Addresses and ports are in host byte order. A record
// belongs to one thread.
#ifndef TRANSPORT_SOCKET_CALLS_H
#define TRANSPORT_SOCKET_CALLS_H

#include "platform/socket.h"

#include <cstdint>

namespace zerova {

struct SockRec
{
   platform::Socket sock;
   uint16_t reserved; // 0
   uint32_t hostAddress;
   uint16_t port;
   int32_t halfOpen; // never set, so that no close is preceded by a shutdown of the sending side
};

inline constexpr uint32_t kUnresolvedAddress = 0xFFFFFFFF;

// The library is usable between a successful sockInit and the sockShutdown that matches it.
bool sockInit();
bool sockShutdown(); // false if nothing was in force or the release failed

// Constructs the record; sock is invalid if there is no socket to be had.
void sockOpen(SockRec* rec);
void sockClose(SockRec* rec);
// drain: first reads on until the other side closes, at most 60 s for each byte.
void sockGracefulClose(SockRec* rec, bool drain);

int sockConnect(SockRec* rec, uint32_t address, uint16_t port, int32_t timeout);
// A null or empty host is this machine. kUnresolvedAddress is not an address to test for:
// connecting to it fails.
uint32_t sockResolve(const char* host);

// The count of bytes done when the length, the time or the connection ended.
int32_t sockSend(SockRec* rec, const void* data, int32_t length, int32_t timeout);
int32_t sockRecv(SockRec* rec, void* buffer, int32_t length, int32_t timeout);

int sockSendString(SockRec* rec, const char* text, int32_t timeout);
// One line without its LF and without any CR, at most size - 2 characters. The time-out is that of
// each byte. On failure the buffer may hold bytes without a NUL.
int sockReadLine(SockRec* rec, char* buffer, int32_t size, int32_t timeout);

int sockWaitReadable(SockRec* rec, int32_t timeout);
int sockWaitWritable(SockRec* rec, int32_t timeout);
// A flag that is null is not asked for.
void sockWait(SockRec* rec, int32_t timeout, int* readable, int* writable, int* errored,
              int* timedOut, int* interrupted);

} // namespace zerova

#endif
