// Memory of the whole process, to see that something leaves none behind.
#ifndef TESTS_SUPPORT_HEAP_IN_USE_H
#define TESTS_SUPPORT_HEAP_IN_USE_H

#include <cstddef>

// Bytes that the allocators of the process have given out.
size_t heapBytesInUse();

#endif
