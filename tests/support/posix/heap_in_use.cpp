#include "support/heap_in_use.h"

#include <malloc.h>

size_t heapBytesInUse()
{
   const struct mallinfo2 info = mallinfo2();
   return info.uordblks + info.hblkhd;
}
