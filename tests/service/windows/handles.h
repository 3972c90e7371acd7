// Overlapped transfers of pipes and sockets, with failures that say what they are about.
#ifndef TESTS_SERVICE_WINDOWS_HANDLES_H
#define TESTS_SERVICE_WINDOWS_HANDLES_H

#include "service/stream.h"

#include <windows.h>
#include <winsock2.h>

#include <cstdint>
#include <string>

namespace zerova::test {

inline HANDLE handleOf(NativeHandle handle)
{
   return reinterpret_cast<HANDLE>(handle);
}

// Throws std::runtime_error: what, and the number of the failure.
[[noreturn]] void fail(const std::string& what, DWORD failure);

// One transfer that was started on a handle, with an event of its own.
class Transfer
{
public:
   Transfer();
   ~Transfer();
   Transfer(const Transfer&) = delete;
   Transfer& operator=(const Transfer&) = delete;

   OVERLAPPED* record() { return &record_; }
   // What starting has returned: waits for the end if that has not come yet. False, with the
   // transfer given up, if the stop signal is raised first.
   bool wait(HANDLE handle, bool isDone, const StopSignal& stop);
   // As wait(), for a socket, where Wine may forget a transfer that waits when the connection is reset:
   // such a one fails. So does one that waits for a peer which has closed its sending half alone, as
   // nothing tells the two apart.
   bool waitOnSocket(SOCKET socket, bool isDone, const StopSignal& stop);

   DWORD failure() const { return failure_; } // 0 for a transfer that has succeeded
   DWORD count() const { return count_; }

private:
   template <typename IsOver>
   bool wait(HANDLE handle, bool isDone, const StopSignal& stop, DWORD step, IsOver isOver);

   OVERLAPPED record_{};
   DWORD failure_ = 0;
   DWORD count_ = 0;
};

// Sockets are to be had from the first call on.
void startSockets();
// A stream socket that no child inherits.
SOCKET openSocket();
// Refuses what is no loopback address: the servers of the tests are for this machine alone.
sockaddr_in tcpAddress(const std::string& text, std::uint16_t port);

// The full name of the pipe that stands for a local endpoint in a folder.
std::string pipeName(const std::string& name, const std::string& folder);

} // namespace zerova::test

#endif
