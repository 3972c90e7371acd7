// Bytes and UTF-16 units that nothing terminates; see quelerr/string.h for the conventions.
#ifndef QUELERR_BUFFERS_H
#define QUELERR_BUFFERS_H

#include "quelerr_status.h"

#include <cstddef>
#include <cstdint>

struct quelerr_ByteBuffer
{
   size_t capacity;
   size_t length;
   char* data; // null or capacity bytes
};

struct quelerr_WideBuffer
{
   size_t capacity; // units
   size_t length;   // units
   uint16_t* data;  // null or capacity units
};

struct quelerr_ByteSink
{
   quelerr_ByteBuffer* buffer;
   quelerr_Status* status;
};

// Move what stands at offset and behind it up by count. Return the gap, which the caller fills and
// then adds to length; null on failure, and for a gap of 0 in a buffer without memory.
char* quelerr_ByteBuffer_makeGap(quelerr_ByteBuffer* buffer, size_t offset, size_t count,
                                 quelerr_Status* status);
uint16_t* quelerr_WideBuffer_makeGap(quelerr_WideBuffer* buffer, size_t offset, size_t count,
                                     quelerr_Status* status);

// Sets the length. New units are zero; memory is only ever added.
void quelerr_WideBuffer_resize(quelerr_WideBuffer* buffer, size_t wanted, quelerr_Status* status);

// Free the memory and make the buffer a valid empty one.
void quelerr_ByteBuffer_release(quelerr_ByteBuffer* buffer);
void quelerr_WideBuffer_release(quelerr_WideBuffer* buffer);

#endif
