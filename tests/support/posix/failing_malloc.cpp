#include "support/failing_malloc.h"

#include <cerrno>
#include <cstdint>

// The allocator that would have been called but for this file, under the name that it keeps.
#ifdef UNDER_SANITIZER
#define BEHIND(function) __interceptor_##function
#else
#define BEHIND(function) __libc_##function
#endif

extern "C" {
void* BEHIND(malloc)(size_t size);
void* BEHIND(calloc)(size_t count, size_t size);
void* BEHIND(realloc)(void* block, size_t size);
void* BEHIND(memalign)(size_t alignment, size_t size);
void BEHIND(free)(void* block);
}

namespace {

constexpr size_t kNever = SIZE_MAX;

// Plain and constant-initialised, as malloc runs before anything else does.
thread_local size_t failingIndex = kNever;
thread_local bool failsBehind = false;
thread_local size_t allocations = 0;
thread_local ptrdiff_t live = 0;

// Refuses what no system has as well: a sanitizer would end the process instead.
bool mustFail(size_t size)
{
   const size_t index = allocations++;
   const bool fails = index == failingIndex ||
                      (failsBehind && failingIndex != kNever && index > failingIndex) ||
                      size > PTRDIFF_MAX;
   if (fails) errno = ENOMEM;
   return fails;
}

template <typename Allocate>
void* take(size_t size, Allocate allocate)
{
   if (mustFail(size)) return nullptr;
   void* const block = allocate();
   if (block) ++live;
   return block;
}

} // namespace

extern "C" {

void* malloc(size_t size)
{
   return take(size, [=] { return BEHIND(malloc)(size); });
}

void* calloc(size_t count, size_t size)
{
   return take(size, [=] { return BEHIND(calloc)(count, size); });
}

// Lets go of memory as the system's does: a size of 0 is no allocation and does not fail.
void* realloc(void* block, size_t size)
{
   if (!block) return take(size, [=] { return BEHIND(realloc)(nullptr, size); });
   if (size == 0) --live;
   return size != 0 && mustFail(size) ? nullptr : BEHIND(realloc)(block, size);
}

void* aligned_alloc(size_t alignment, size_t size)
{
   return take(size, [=] { return BEHIND(memalign)(alignment, size); });
}

void free(void* block)
{
   if (block) --live;
   BEHIND(free)(block);
}

} // extern "C"

FailingMalloc::FailingMalloc(size_t index, Then then)
   : index_(index)
{
   allocations = 0;
   failsBehind = then == Then::failAlways;
   failingIndex = index;
}

FailingMalloc::~FailingMalloc()
{
   failingIndex = kNever;
   failsBehind = false;
}

size_t FailingMalloc::count() const
{
   return allocations;
}

bool FailingMalloc::hasFailed() const
{
   return allocations > index_;
}

ptrdiff_t liveBlocks()
{
   return live;
}
