#include "support/heap_in_use.h"

#include <array>
#include <stdexcept>

#include <windows.h>

namespace {

// What is asked for is told without it.
constexpr size_t kHeadOfABlock = 16;

size_t bytesInUseOf(HANDLE heap)
{
   size_t bytes = 0;
   PROCESS_HEAP_ENTRY entry{};
   HeapLock(heap);
   while (HeapWalk(heap, &entry))
      if (entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) bytes += kHeadOfABlock + entry.cbData;
   HeapUnlock(heap);
   return bytes;
}

} // namespace

// The C library and the system have heaps of their own.
size_t heapBytesInUse()
{
   std::array<HANDLE, 64> heaps;
   const DWORD count = GetProcessHeaps(heaps.size(), heaps.data());
   if (count == 0 || count > heaps.size()) throw std::runtime_error("the heaps cannot be told");
   size_t bytes = 0;
   for (DWORD i = 0; i < count; ++i)
      bytes += bytesInUseOf(heaps[i]);
   return bytes;
}
