// The linker leads the calls of the program's objects to the functions with __wrap_ in front, and
// the imports of the library are patched to lead there too. An object of thread_local would be
// allocated by a thread's first look at it, so what a thread has stands in slots of the system.
#include "support/failing_malloc.h"

#include "support/windows/import_patch.h"

#include <cerrno>
#include <cstdint>
#include <list>

#include <windows.h>

extern "C" {
void* __real_malloc(size_t size);
void* __real_calloc(size_t count, size_t size);
void* __real_realloc(void* block, size_t size);
void __real_free(void* block);
}

namespace {

// A number for each thread, 0 at first.
class Slot
{
public:
   std::intptr_t get()
   {
      const DWORD failure = GetLastError();
      const auto value = reinterpret_cast<std::intptr_t>(TlsGetValue(index()));
      SetLastError(failure);
      return value;
   }
   void set(std::intptr_t value) { TlsSetValue(index(), reinterpret_cast<void*>(value)); }

private:
   // First asked for by the first allocation, before there is a second thread.
   DWORD index()
   {
      if (index_ == TLS_OUT_OF_INDEXES) index_ = TlsAlloc();
      return index_;
   }

   DWORD index_ = TLS_OUT_OF_INDEXES;
};

constinit Slot failingIndexAnd1; // 0: none
constinit Slot failsBehind;
constinit Slot allocations;
constinit Slot live;

// Refuses what no system has as well.
bool mustFail(size_t size)
{
   const std::intptr_t index = allocations.get();
   allocations.set(index + 1);
   const std::intptr_t chosen = failingIndexAnd1.get() - 1;
   const bool fails =
      index == chosen || (failsBehind.get() && chosen >= 0 && index > chosen) || size > PTRDIFF_MAX;
   if (fails) errno = ENOMEM;
   return fails;
}

void addLive(std::intptr_t count)
{
   live.set(live.get() + count);
}

template <typename Allocate>
void* take(size_t size, Allocate allocate)
{
   if (mustFail(size)) return nullptr;
   void* const block = allocate();
   if (block) addLive(1);
   return block;
}

} // namespace

extern "C" {

void* __wrap_malloc(size_t size)
{
   return take(size, [=] { return __real_malloc(size); });
}

void* __wrap_calloc(size_t count, size_t size)
{
   return take(size, [=] { return __real_calloc(count, size); });
}

// Lets go of memory as the system's does: a size of 0 is no allocation and does not fail.
void* __wrap_realloc(void* block, size_t size)
{
   if (!block) return take(size, [=] { return __real_realloc(nullptr, size); });
   if (size == 0) addLive(-1);
   return size != 0 && mustFail(size) ? nullptr : __real_realloc(block, size);
}

void __wrap_free(void* block)
{
   if (block) addLive(-1);
   __real_free(block);
}

} // extern "C"

namespace {

// For as long as the program runs, if it is linked against the library.
class PatchOfLibrary
{
public:
   PatchOfLibrary()
   {
      if (!zerova::test::isLoaded(zerova::test::kLibrary)) return;
      patches_.emplace_back("malloc", __wrap_malloc);
      patches_.emplace_back("calloc", __wrap_calloc);
      patches_.emplace_back("realloc", __wrap_realloc);
      patches_.emplace_back("free", __wrap_free);
   }

private:
   std::list<zerova::test::ImportPatch> patches_;
};

const PatchOfLibrary patchOfLibrary;

} // namespace

FailingMalloc::FailingMalloc(size_t index, Then then)
   : index_(index)
{
   allocations.set(0);
   failsBehind.set(then == Then::failAlways);
   failingIndexAnd1.set(index < PTRDIFF_MAX ? static_cast<std::intptr_t>(index) + 1 : 0);
}

FailingMalloc::~FailingMalloc()
{
   failingIndexAnd1.set(0);
}

size_t FailingMalloc::count() const
{
   return static_cast<size_t>(allocations.get());
}

bool FailingMalloc::hasFailed() const
{
   return count() > index_;
}

ptrdiff_t liveBlocks()
{
   return live.get();
}
