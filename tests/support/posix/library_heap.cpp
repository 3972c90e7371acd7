#include "support/library_heap.h"

namespace zerova::test {

WatchedLibraryHeap::WatchedLibraryHeap(HeapWatcher&) {}

WatchedLibraryHeap::~WatchedLibraryHeap() = default;

} // namespace zerova::test
