#include "support/memory_limit.h"

#include "support/library_heap.h"

namespace zerova::test {

struct MemoryLimit::Bound : HeapWatcher
{
   explicit Bound(size_t bytes)
      : room(static_cast<std::ptrdiff_t>(bytes))
   {
   }

   bool allows(size_t bytes) override { return static_cast<std::ptrdiff_t>(bytes) <= room; }
   void hasTaken(std::ptrdiff_t bytes) override { room -= bytes; }

   std::ptrdiff_t room;
   const WatchedLibraryHeap watched{*this};
};

MemoryLimit::MemoryLimit(size_t room)
   : bound_(std::make_unique<Bound>(room))
{
}

MemoryLimit::~MemoryLimit() = default;

} // namespace zerova::test
