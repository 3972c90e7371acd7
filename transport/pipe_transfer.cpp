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

[[noreturn]] void failTransfer(int error)
{
   GlobalOutput.perror("getOverlappedResultWithTimeout errored GLE=", error);
   throw TTransportException(TTransportException::UNKNOWN, "getOverlappedResultWithTimeout failed");
}

[[noreturn]] void failTimeOut()
{
   const char* const message = "getOverlappedResultWithTimeout timed out";
   GlobalOutput(message);
   throw TTransportException(TTransportException::TIMED_OUT, message);
}

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
         platform::raiseEvent(transfer.event);
         if (cancelOnFailure) platform::cancelTransfers(pipe);
         if (waited.result == platform::TransferWait::timedOut) failTimeOut();
         failTransfer(waited.error);
      }
   }
   if (const int error = platform::finishTransfer(transfer, timeoutMs < 1, bytes)) {
      platform::raiseEvent(transfer.event);
      failTransfer(error);
   }
}

} // namespace verified_pipe
} // namespace apache::thrift::transport
