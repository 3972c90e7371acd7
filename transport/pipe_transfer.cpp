#include "transport/pipe_transfer.h"

#include <thrift/Thrift.h>
#include <thrift/transport/TTransportException.h>

namespace apache::thrift::transport {
inline namespace verified_pipe {

using platform::Handle;
using platform::PipeTransfer;

namespace {

[[noreturn]] void failStart(Handle event, const char* diagnostic, int error, const char* message)
{
   platform::raiseEvent(event);
   GlobalOutput.perror(diagnostic, error);
   throw TTransportException(TTransportException::UNKNOWN, message);
}

void tellTransferFailure(int error)
{
   GlobalOutput.perror("getOverlappedResultWithTimeout errored GLE=", error);
}

[[noreturn]] void failTransfer()
{
   throw TTransportException(TTransportException::UNKNOWN, "getOverlappedResultWithTimeout failed");
}

constexpr const char* kTimedOut = "getOverlappedResultWithTimeout timed out";

} // namespace

uint32_t pseudo_sync_read(Handle pipe, Handle event, uint8_t* buffer, uint32_t length,
                          int32_t timeoutMs)
{
   PipeTransfer transfer{event};
   if (const int error = platform::startRead(pipe, buffer, length, transfer))
      failStart(event, "TPipe ::ReadFile errored GLE=", error, "TPipe: read failed");
   uint32_t bytes = 0;
   getOverlappedResultWithTimeout(pipe, transfer, bytes, timeoutMs, true);
   return bytes;
}

void pseudo_sync_write(Handle pipe, Handle event, const uint8_t* buffer, uint32_t length,
                       int32_t timeoutMs)
{
   PipeTransfer transfer{event};
   for (uint32_t offset = 0; offset < length;) {
      if (const int error = platform::startWrite(pipe, buffer + offset, length - offset, transfer))
         failStart(event, "TPipe ::WriteFile errored GLE=", error, "TPipe: write failed");
      uint32_t bytes = 0;
      getOverlappedResultWithTimeout(pipe, transfer, bytes, timeoutMs, true);
      offset += bytes;
   }
}

void getOverlappedResultWithTimeout(Handle pipe, PipeTransfer& transfer, uint32_t& bytes,
                                    int32_t timeoutMs, bool cancelOnFailure)
{
   if (timeoutMs > 0) {
      const platform::WaitedTransfer waited = platform::waitForTransfer(transfer, timeoutMs);
      if (waited.result != platform::TransferWait::ended) {
         const bool timedOut = waited.result == platform::TransferWait::timedOut;
         platform::raiseEvent(transfer.event);
         if (timedOut)
            GlobalOutput(kTimedOut);
         else
            tellTransferFailure(waited.error);
         if (cancelOnFailure) platform::cancelTransfer(pipe, transfer);
         if (timedOut) throw TTransportException(TTransportException::TIMED_OUT, kTimedOut);
         failTransfer();
      }
   }
   if (const int error = platform::finishTransfer(pipe, transfer, timeoutMs < 1, bytes)) {
      platform::raiseEvent(transfer.event);
      tellTransferFailure(error);
      failTransfer();
   }
}

} // namespace verified_pipe
} // namespace apache::thrift::transport
