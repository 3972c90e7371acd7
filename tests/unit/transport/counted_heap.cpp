#include "unit/transport/counted_heap.h"

#include "support/block_size.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace countedHeap {
namespace {

std::atomic<size_t> held{0};
std::atomic<size_t> largest{0};

void* allocate(size_t size)
{
   if (size > largest) largest = size;
   void* const block = std::malloc(size ? size : 1);
   if (block) held += blockSize(block);
   return block;
}

} // namespace

size_t heldBytes()
{
   return held;
}

size_t takeLargestRequest()
{
   return largest.exchange(0);
}

} // namespace countedHeap

void* operator new(size_t size)
{
   void* const block = countedHeap::allocate(size);
   if (!block) throw std::bad_alloc();
   return block;
}

void* operator new[](size_t size)
{
   return operator new(size);
}

void* operator new(size_t size, const std::nothrow_t&) noexcept
{
   return countedHeap::allocate(size);
}

void* operator new[](size_t size, const std::nothrow_t& tag) noexcept
{
   return operator new(size, tag);
}

void operator delete(void* block) noexcept
{
   if (block) countedHeap::held -= blockSize(block);
   std::free(block);
}

void operator delete[](void* block) noexcept
{
   operator delete(block);
}

void operator delete(void* block, size_t) noexcept
{
   operator delete(block);
}

void operator delete[](void* block, size_t) noexcept
{
   operator delete(block);
}
