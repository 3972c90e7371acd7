// The blocks that the built library takes and gives back, where they are not the program's by
// themselves.
#ifndef TESTS_SUPPORT_LIBRARY_HEAP_H
#define TESTS_SUPPORT_LIBRARY_HEAP_H

#include <cstddef>

namespace zerova::test {

// Is asked on the thread that takes or gives back.
class HeapWatcher
{
public:
   virtual ~HeapWatcher() = default;
   // Whether so many bytes may be had. What it throws comes to who asked for them.
   virtual bool allows(std::size_t bytes) = 0;
   // Below 0: so many were given back. They count as the allocator rounded them.
   virtual void hasTaken(std::ptrdiff_t bytes) = 0;
};

// Has the watcher asked for as long as it lives. One at a time. Does nothing where the library calls the
// operators of the program that loads it, and in a program that is not linked against it.
class WatchedLibraryHeap
{
public:
   explicit WatchedLibraryHeap(HeapWatcher& watcher);
   ~WatchedLibraryHeap();
   WatchedLibraryHeap(const WatchedLibraryHeap&) = delete;
   WatchedLibraryHeap& operator=(const WatchedLibraryHeap&) = delete;
};

} // namespace zerova::test

#endif
