// One read or write on an open pipe, from its start to its end.
#ifndef TRANSPORT_PIPE_TRANSFER_H
#define TRANSPORT_PIPE_TRANSFER_H

#include "platform/local_pipe.h"

#include <cstdint>

namespace apache::thrift::transport {
inline namespace verified_pipe {

// Each throws TTransportException. timeoutMs: above 0 the longest wait for one transfer, else no
// limit.

// Returns what one transfer delivers, at most length.
uint32_t pseudo_sync_read(platform::Handle pipe, platform::Handle event, uint8_t* buffer,
                          uint32_t length, int32_t timeoutMs);
// Writes all, in as many transfers as it takes.
void pseudo_sync_write(platform::Handle pipe, platform::Handle event, const uint8_t* buffer,
                       uint32_t length, int32_t timeoutMs);

void getOverlappedResultWithTimeout(platform::Handle pipe, platform::PipeTransfer& transfer,
                                    uint32_t& bytes, int32_t timeoutMs, bool cancelOnFailure);

} // namespace verified_pipe
} // namespace apache::thrift::transport

#endif
