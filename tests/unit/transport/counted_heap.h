// What operator new has given out and not got back, in this program and the libraries it uses.
#ifndef TESTS_UNIT_TRANSPORT_COUNTED_HEAP_H
#define TESTS_UNIT_TRANSPORT_COUNTED_HEAP_H

#include <cstddef>

namespace countedHeap {

size_t heldBytes();
// The most that was asked for in one piece since the last call.
size_t takeLargestRequest();
// The next request of this thread that may answer with a null pointer does so.
void failNextNothrow();

} // namespace countedHeap

#endif
