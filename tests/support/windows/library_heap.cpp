// The library has operators of its own, and all that it allocates comes to the functions of the C
// library that it imports.
#include "support/library_heap.h"

#include "support/block_size.h"
#include "support/windows/import_patch.h"

#include <cerrno>
#include <cstdlib>
#include <optional>

namespace zerova::test {

namespace {

HeapWatcher* watching = nullptr;

void* allocate(size_t size);
void* allocateZeroed(size_t count, size_t size);
void* resize(void* block, size_t size);
void release(void* block);

struct Patches
{
   const ImportPatch allocates{"malloc", allocate};
   const ImportPatch allocatesZeroed{"calloc", allocateZeroed};
   const ImportPatch resizes{"realloc", resize};
   const ImportPatch releases{"free", release};
};
std::optional<Patches> patches;

std::ptrdiff_t bytesOf(void* block)
{
   return block ? static_cast<std::ptrdiff_t>(blockSize(block)) : 0;
}

// The patched table may lead on to functions of the test's own.
template <typename Function>
Function* behind(const ImportPatch& patch, Function*)
{
   return reinterpret_cast<Function*>(patch.original());
}

void* refused()
{
   errno = ENOMEM;
   return nullptr;
}

void* allocate(size_t size)
{
   if (!watching->allows(size)) return refused();
   void* const block = behind(patches->allocates, std::malloc)(size);
   watching->hasTaken(bytesOf(block));
   return block;
}

void* allocateZeroed(size_t count, size_t size)
{
   if (!watching->allows(count * size)) return refused();
   void* const block = behind(patches->allocatesZeroed, std::calloc)(count, size);
   watching->hasTaken(bytesOf(block));
   return block;
}

void* resize(void* block, size_t size)
{
   const std::ptrdiff_t before = bytesOf(block);
   if (size != 0 && !watching->allows(size)) return refused();
   void* const moved = behind(patches->resizes, std::realloc)(block, size);
   if (moved || size == 0) watching->hasTaken(bytesOf(moved) - before);
   return moved;
}

void release(void* block)
{
   watching->hasTaken(-bytesOf(block));
   behind(patches->releases, std::free)(block);
}

} // namespace

WatchedLibraryHeap::WatchedLibraryHeap(HeapWatcher& watcher)
{
   if (!isLoaded(kLibrary)) return;
   watching = &watcher;
   patches.emplace();
}

WatchedLibraryHeap::~WatchedLibraryHeap()
{
   patches.reset();
}

} // namespace zerova::test
