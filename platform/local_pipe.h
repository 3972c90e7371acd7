// Local byte streams to a service on this machine, as the pipe transport needs them.
//
// A function that can fail returns the system's number of the failure, 0 for success, unless it
// says otherwise. Nothing here throws.
#ifndef PLATFORM_LOCAL_PIPE_H
#define PLATFORM_LOCAL_PIPE_H

#include <cstdint>

namespace platform {

// A pipe or an event, as the system hands it out: wide enough for a descriptor and for a pointer.
using Handle = std::intptr_t;
inline constexpr Handle kInvalidHandle = -1;

// An event is made lowered, is raised when a transfer has ended, and stays raised until the next
// transfer that uses it starts.
int createEvent(Handle& event); // event is written only on success
void raiseEvent(Handle event);
void closeEvent(Handle event);

enum class PipeOpening
{
   opened,
   busy,
   failed
};

struct OpenedPipe
{
   PipeOpening result;
   Handle pipe; // the caller's to close; kInvalidHandle unless opened
   int error;   // 0 if opened
};

// Opens the client end of one named pipe. Meant to live for one opening: what the wait has found out
// may be kept for the open that follows.
class PipeOpener
{
public:
   // fullName: with its prefix; must outlive the object.
   explicit PipeOpener(const char* fullName);
   ~PipeOpener();
   PipeOpener(const PipeOpener&) = delete;
   PipeOpener& operator=(const PipeOpener&) = delete;

   // Opens for reading and writing, never inherited by a child process. extraFlags are the system's
   // own and are added to those of the call. Does not wait.
   OpenedPipe open(uint32_t extraFlags);

   // Waits until the service can take one more client. False on time-out and when the pipe has
   // gone. The service never sees a client that only waited.
   bool waitWhileBusy(int32_t milliseconds);

private:
   const char* fullName_;
   Handle kept_ = kInvalidHandle; // between wait and open, where the system has a use for it
};

void closePipe(Handle pipe);

// One transfer: started, waited for if there is a time limit, finished. Transfer and buffer must stay
// where they are until it is finished or cancelled.
struct PipeTransfer
{
   Handle event;
   std::uintptr_t record[4] = {}; // what the system notes about the transfer
};

// The start fails at once for what the system can tell at once; a transfer that is under way has
// started. Reading nothing has ended at its start.
int startRead(Handle pipe, void* buffer, uint32_t length, PipeTransfer& transfer);
int startWrite(Handle pipe, const void* data, uint32_t length, PipeTransfer& transfer);

enum class TransferWait
{
   ended,
   timedOut,
   failed
};

struct WaitedTransfer
{
   TransferWait result;
   int error; // set if failed
};

// ended: finishing will not block; how the transfer ended is told then.
WaitedTransfer waitForTransfer(const PipeTransfer& transfer, int32_t milliseconds);

// Gives the count of bytes moved, which may be less than asked for. The end of the connection is a
// failure. block: wait for a transfer that is still under way; else that is a failure too.
int finishTransfer(Handle pipe, PipeTransfer& transfer, bool block, uint32_t& count);

// Gives up a transfer that was started on the pipe in the calling thread, and returns when the system
// has let go of its record and buffer.
void cancelTransfer(Handle pipe, PipeTransfer& transfer);

} // namespace platform

#endif
