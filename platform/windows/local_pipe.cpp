#include "platform/local_pipe.h"

#include <memory>
#include <new>
#include <type_traits>
#include <windows.h>

namespace platform {
namespace {

static_assert(sizeof(OVERLAPPED) <= sizeof(PipeTransfer::record));
static_assert(alignof(OVERLAPPED) <= alignof(std::uintptr_t) &&
              std::is_trivially_copyable_v<OVERLAPPED>);

HANDLE handleOf(Handle handle)
{
   return reinterpret_cast<HANDLE>(handle);
}

int lastFailure()
{
   return static_cast<int>(GetLastError());
}

// The record is zero from the beginning of the transfer on.
OVERLAPPED* recordOf(PipeTransfer& transfer)
{
   return std::launder(reinterpret_cast<OVERLAPPED*>(transfer.record));
}

// A transfer that goes on by itself has started.
int startOf(BOOL isDone)
{
   const int failure = isDone ? 0 : lastFailure();
   return failure == ERROR_IO_PENDING ? 0 : failure;
}

} // namespace

int createEvent(Handle& event)
{
   const HANDLE made = CreateEventA(nullptr, TRUE, FALSE, nullptr);
   if (!made) return lastFailure();
   event = reinterpret_cast<Handle>(made);
   return 0;
}

void raiseEvent(Handle event)
{
   SetEvent(handleOf(event));
}

void closeEvent(Handle event)
{
   CloseHandle(handleOf(event));
}

PipeOpener::PipeOpener(const char* fullName)
   : fullName_(fullName)
{
}

PipeOpener::~PipeOpener() = default;

OpenedPipe PipeOpener::open(uint32_t extraFlags)
{
   const HANDLE pipe = CreateFileA(fullName_, GENERIC_READ | GENERIC_WRITE, 0, nullptr,
                                   OPEN_EXISTING, FILE_FLAG_OVERLAPPED | extraFlags, nullptr);
   if (pipe != INVALID_HANDLE_VALUE)
      return {PipeOpening::opened, reinterpret_cast<Handle>(pipe), 0};
   const int failure = lastFailure();
   return {failure == ERROR_PIPE_BUSY ? PipeOpening::busy : PipeOpening::failed, kInvalidHandle,
           failure};
}

bool PipeOpener::waitWhileBusy(int32_t milliseconds)
{
   return WaitNamedPipeA(fullName_, static_cast<DWORD>(milliseconds)) != FALSE;
}

void closePipe(Handle pipe)
{
   CloseHandle(handleOf(pipe));
}

int startRead(Handle pipe, void* buffer, uint32_t length, PipeTransfer& transfer)
{
   OVERLAPPED* const record = recordOf(transfer);
   record->hEvent = handleOf(transfer.event);
   // The system would let it wait for bytes of which it takes none. A record of zeros is that of a
   // transfer that has ended well with none.
   if (length == 0) return SetEvent(record->hEvent) ? 0 : lastFailure();
   return startOf(ReadFile(handleOf(pipe), buffer, length, nullptr, record));
}

int startWrite(Handle pipe, const void* data, uint32_t length, PipeTransfer& transfer)
{
   OVERLAPPED* const record = recordOf(transfer);
   record->hEvent = handleOf(transfer.event);
   return startOf(WriteFile(handleOf(pipe), data, length, nullptr, record));
}

WaitedTransfer waitForTransfer(const PipeTransfer& transfer, int32_t milliseconds)
{
   switch (WaitForSingleObject(handleOf(transfer.event), static_cast<DWORD>(milliseconds))) {
   case WAIT_OBJECT_0:
      return {TransferWait::ended, 0};
   case WAIT_TIMEOUT:
      return {TransferWait::timedOut, 0};
   default:
      return {TransferWait::failed, lastFailure()};
   }
}

int finishTransfer(Handle pipe, PipeTransfer& transfer, bool block, uint32_t& count)
{
   DWORD moved = 0;
   if (!GetOverlappedResult(handleOf(pipe), recordOf(transfer), &moved, block ? TRUE : FALSE))
      return lastFailure();
   count = moved;
   return 0;
}

// The event may be raised already, and a wait for the end would end with it. Whatever ends the
// transfer notes its result before it raises the event, so nothing is waited for that has ended.
void cancelTransfer(Handle pipe, PipeTransfer& transfer)
{
   const HANDLE event = handleOf(transfer.event);
   CancelIo(handleOf(pipe));
   ResetEvent(event);
   DWORD moved = 0;
   GetOverlappedResult(handleOf(pipe), recordOf(transfer), &moved, TRUE);
   SetEvent(event);
}

} // namespace platform
