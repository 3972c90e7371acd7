#include "support/heap_watch.h"

#include "support/block_size.h"
#include "support/library_heap.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <optional>

namespace zerova::test {

namespace {

struct Watched
{
   bool active = false;
   std::size_t count = 0;
   std::size_t largest = 0;
   std::ptrdiff_t inUse = 0;
   std::ptrdiff_t peak = 0;
   std::size_t untilFailure = 0; // 0: none
   void (*raise)() = nullptr;
   std::size_t limit = SIZE_MAX;
   bool failed = false;
};

thread_local Watched watched;

bool allows(std::size_t bytes)
{
   if (!watched.active) return true;
   ++watched.count;
   watched.largest = std::max(watched.largest, bytes);
   const bool isChosen = watched.untilFailure != 0 && --watched.untilFailure == 0;
   if (!isChosen && bytes <= watched.limit) return true;
   watched.failed = true;
   if (isChosen && watched.raise) watched.raise();
   return false;
}

void hasTaken(std::ptrdiff_t bytes)
{
   if (!watched.active) return;
   watched.inUse += bytes;
   watched.peak = std::max(watched.peak, watched.inUse);
}

// Not asked by the operators below, which are called before it is made and after its end.
class OfTheThread : public HeapWatcher
{
public:
   bool allows(std::size_t bytes) override { return test::allows(bytes); }
   void hasTaken(std::ptrdiff_t bytes) override { test::hasTaken(bytes); }
};

OfTheThread watcher;
std::optional<WatchedLibraryHeap> libraryHeap;

void* allocate(std::size_t size)
{
   if (!allows(size)) throw std::bad_alloc();
   void* const block = std::malloc(size != 0 ? size : 1);
   if (!block) throw std::bad_alloc();
   hasTaken(static_cast<std::ptrdiff_t>(blockSize(block)));
   return block;
}

void release(void* block) noexcept
{
   if (block) hasTaken(-static_cast<std::ptrdiff_t>(blockSize(block)));
   std::free(block);
}

void* allocateOrNull(std::size_t size) noexcept
{
   try {
      return allocate(size);
   } catch (...) {
      return nullptr;
   }
}

} // namespace

HeapWatch::HeapWatch()
{
   watched = Watched{};
   libraryHeap.emplace(watcher);
   watched.active = true;
}

HeapWatch::~HeapWatch()
{
   watched.active = false;
   libraryHeap.reset();
}

void HeapWatch::failNth(std::size_t n, void (*raise)())
{
   watched.untilFailure = n;
   watched.raise = raise;
   watched.failed = false;
}

void HeapWatch::failAbove(std::size_t bytes)
{
   watched.limit = bytes;
}

bool HeapWatch::hasFailed() const
{
   return watched.failed;
}

std::size_t HeapWatch::count() const
{
   return watched.count;
}

std::size_t HeapWatch::largest() const
{
   return watched.largest;
}

std::size_t HeapWatch::peak() const
{
   return static_cast<std::size_t>(watched.peak);
}

std::ptrdiff_t HeapWatch::inUse() const
{
   return watched.inUse;
}

} // namespace zerova::test

// All forms, since a sanitizer's own ones do not call each other.
void* operator new(std::size_t size)
{
   return zerova::test::allocate(size);
}
void* operator new[](std::size_t size)
{
   return zerova::test::allocate(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
   return zerova::test::allocateOrNull(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept
{
   return zerova::test::allocateOrNull(size);
}
void operator delete(void* block) noexcept
{
   zerova::test::release(block);
}
void operator delete[](void* block) noexcept
{
   zerova::test::release(block);
}
void operator delete(void* block, std::size_t) noexcept
{
   zerova::test::release(block);
}
void operator delete[](void* block, std::size_t) noexcept
{
   zerova::test::release(block);
}
void operator delete(void* block, const std::nothrow_t&) noexcept
{
   zerova::test::release(block);
}
void operator delete[](void* block, const std::nothrow_t&) noexcept
{
   zerova::test::release(block);
}
