#include "quelerr/buffers.h"

#include "quelerr/growth.h"

#include <algorithm>

char* quelerr_ByteBuffer_makeGap(quelerr_ByteBuffer* buffer, size_t offset, size_t count,
                                 quelerr_Status* status)
{
   return quelerr_openGap(buffer, offset, count, status);
}

uint16_t* quelerr_WideBuffer_makeGap(quelerr_WideBuffer* buffer, size_t offset, size_t count,
                                     quelerr_Status* status)
{
   return quelerr_openGap(buffer, offset, count, status);
}

void quelerr_WideBuffer_resize(quelerr_WideBuffer* buffer, size_t wanted, quelerr_Status* status)
{
   if (status->code < 0) return;
   if (wanted > buffer->length) {
      const size_t added = wanted - buffer->length;
      uint16_t* const gap = quelerr_WideBuffer_makeGap(buffer, buffer->length, added, status);
      if (!gap) return;
      std::fill_n(gap, added, uint16_t{0});
   }
   buffer->length = wanted;
}

void quelerr_ByteBuffer_release(quelerr_ByteBuffer* buffer)
{
   quelerr_releaseUnits(buffer);
}

void quelerr_WideBuffer_release(quelerr_WideBuffer* buffer)
{
   quelerr_releaseUnits(buffer);
}
