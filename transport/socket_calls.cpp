#include "transport/socket_calls.h"

#include <algorithm>
#include <cstring>
#include <mutex>

namespace zerova {
namespace {

constexpr uint32_t kThisMachine = 0x7F000001;
constexpr int32_t kDrainTimeout = 60000;

// Guards what follows. wakeSocket is read by the waits without it: it changes only when the count
// goes between 0 and 1, and no wait runs then.
std::mutex startLock;
uint32_t references = 0;
bool started = false;
platform::Socket wakeSocket = platform::kInvalidSocket;

bool release()
{
   if (!platform::stopSockets()) return false;
   started = false;
   return true;
}

void setFlag(int* flag, bool value)
{
   if (flag) *flag = value ? 1 : 0;
}

// Decimal numbers only, with what sscanf's %d would take in front: blanks and a sign. A number too
// long to hold stands for one above 255.
bool scanOctet(const char*& text)
{
   while (*text == ' ' || (*text >= '\t' && *text <= '\r'))
      ++text;
   const bool negative = *text == '-';
   if (*text == '-' || *text == '+') ++text;
   if (*text < '0' || *text > '9') return false;
   uint32_t value = 0;
   for (; *text >= '0' && *text <= '9'; ++text)
      value = std::min(value * 10 + static_cast<uint32_t>(*text - '0'), 256u);
   return value <= (negative ? 0u : 255u);
}

bool isDottedAddress(const char* text)
{
   for (int octet = 0; octet < 4; ++octet) {
      if (octet > 0 && *text++ != '.') return false;
      if (!scanOctet(text)) return false;
   }
   return true;
}

// What is left of the time; the tick count wraps. Below 0 when it is used up.
int32_t remainingTime(uint32_t start, int32_t timeout)
{
   return static_cast<int32_t>(start + static_cast<uint32_t>(timeout) - platform::tickCount());
}

// Waits and moves bytes in turn until the length, the time or the connection ends. The first wait
// has the whole time, so that a time-out of 0 takes what is there even if a tick has just passed.
template <typename Wait, typename Move>
int32_t transferAll(SockRec* rec, int32_t length, int32_t timeout, Wait wait, Move move)
{
   if (rec->sock == platform::kInvalidSocket || length < 1) return 0;
   const uint32_t start = platform::tickCount();
   int32_t done = 0;
   for (int32_t remaining = timeout; timeout < 0 || remaining >= 0;
        remaining = remainingTime(start, timeout))
   {
      if (!wait(rec, timeout < 0 ? timeout : remaining)) break;
      const int32_t moved = move(done);
      if (moved < 1) break;
      done += moved;
      if (done == length) break;
   }
   return done;
}

} // namespace

bool sockInit()
{
   const std::lock_guard<std::mutex> guard(startLock);
   if (references > 0) {
      ++references;
      return true;
   }
   if (!started) started = platform::startSockets();
   if (!started) return false;
   if (wakeSocket == platform::kInvalidSocket) wakeSocket = platform::createWakeSocket();
   if (wakeSocket == platform::kInvalidSocket) {
      release();
      return false;
   }
   references = 1;
   return true;
}

bool sockShutdown()
{
   const std::lock_guard<std::mutex> guard(startLock);
   if (references == 0) return false;
   if (references == 1) {
      if (!platform::closeSocket(wakeSocket)) return false;
      wakeSocket = platform::kInvalidSocket;
      if (!release()) return false;
   }
   --references;
   return true;
}

void sockOpen(SockRec* rec)
{
   *rec = {};
   rec->sock = platform::createTcpSocket();
   if (rec->sock != platform::kInvalidSocket && !platform::setNonBlocking(rec->sock))
      sockClose(rec);
}

void sockClose(SockRec* rec)
{
   if (rec->sock == platform::kInvalidSocket) return;
   platform::closeSocket(rec->sock);
   rec->sock = platform::kInvalidSocket;
}

void sockGracefulClose(SockRec* rec, bool drain)
{
   if (rec->sock == platform::kInvalidSocket) return;
   if (rec->halfOpen) {
      platform::shutDownSending(rec->sock);
      rec->halfOpen = 0;
   }
   char byte = 0;
   while (drain && sockRecv(rec, &byte, 1, kDrainTimeout) == 1) {
   }
   sockClose(rec);
}

int sockConnect(SockRec* rec, uint32_t address, uint16_t port, int32_t timeout)
{
   if (rec->sock == platform::kInvalidSocket || address == 0) return 0;
   rec->hostAddress = address;
   rec->port = port;
   const platform::ConnectStart start = platform::startConnect(rec->sock, address, port);
   if (start != platform::ConnectStart::underWay) return start == platform::ConnectStart::connected;
   if (sockWaitWritable(rec, timeout)) return 1;
   sockClose(rec);
   return 0;
}

uint32_t sockResolve(const char* host)
{
   if (!host || !*host) return kThisMachine;
   if (isDottedAddress(host)) return platform::addressOfDottedText(host);
   uint32_t address = 0;
   return platform::resolveName(host, address) ? address : kUnresolvedAddress;
}

int32_t sockSend(SockRec* rec, const void* data, int32_t length, int32_t timeout)
{
   return transferAll(rec, length, timeout, sockWaitWritable, [=](int32_t done) {
      return platform::sendBytes(rec->sock, static_cast<const char*>(data) + done, length - done);
   });
}

int32_t sockRecv(SockRec* rec, void* buffer, int32_t length, int32_t timeout)
{
   return transferAll(rec, length, timeout, sockWaitReadable, [=](int32_t done) {
      return platform::receiveBytes(rec->sock, static_cast<char*>(buffer) + done, length - done);
   });
}

int sockSendString(SockRec* rec, const char* text, int32_t timeout)
{
   if (!text) return 0;
   const size_t length = std::strlen(text);
   if (length > INT32_MAX) return 0;
   return sockSend(rec, text, static_cast<int32_t>(length), timeout) ==
          static_cast<int32_t>(length);
}

int sockReadLine(SockRec* rec, char* buffer, int32_t size, int32_t timeout)
{
   if (!buffer || size < 2) return 0;
   int32_t stored = 0;
   do {
      char byte = 0;
      if (sockRecv(rec, &byte, 1, timeout) != 1) return 0;
      if (byte == '\n') {
         buffer[stored] = '\0';
         return 1;
      }
      if (byte != '\r') buffer[stored++] = byte;
   } while (stored < size - 1);
   return 0;
}

int sockWaitReadable(SockRec* rec, int32_t timeout)
{
   int readable = 0;
   int errored = 0;
   sockWait(rec, timeout, &readable, nullptr, &errored, nullptr, nullptr);
   return readable;
}

int sockWaitWritable(SockRec* rec, int32_t timeout)
{
   int writable = 0;
   int errored = 0;
   sockWait(rec, timeout, nullptr, &writable, &errored, nullptr, nullptr);
   return writable;
}

void sockWait(SockRec* rec, int32_t timeout, int* readable, int* writable, int* errored,
              int* timedOut, int* interrupted)
{
   for (int* flag : {readable, writable, errored, timedOut, interrupted})
      setFlag(flag, false);
   if (rec->sock == platform::kInvalidSocket) {
      setFlag(errored, true);
      return;
   }
   platform::SocketWatch watches[2] = {
      {rec->sock, readable != nullptr, writable != nullptr, errored != nullptr},
      {wakeSocket, true, false, true}};
   const platform::SocketWatch& own = watches[0];
   const platform::SocketWatch& wake = watches[1];
   switch (platform::waitForSockets(watches, 2, timeout)) {
   case platform::SocketWait::timedOut:
      setFlag(timedOut, true);
      return;
   case platform::SocketWait::failed:
      // Told only to a caller that asked for errors.
      setFlag(errored, true);
      setFlag(interrupted, errored != nullptr);
      return;
   case platform::SocketWait::ready:
      if (wake.readable || wake.errored) {
         setFlag(interrupted, true);
         return;
      }
      setFlag(readable, own.readable);
      setFlag(writable, own.writable);
      setFlag(errored, own.errored);
   }
}

} // namespace zerova
