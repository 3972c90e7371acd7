// What operator new has given out and not got back, in this program and the libraries it uses.
#ifndef TESTS_UNIT_TRANSPORT_COUNTED_HEAP_H
#define TESTS_UNIT_TRANSPORT_COUNTED_HEAP_H

#include <cstddef>

namespace countedHeap {

size_t heldBytes();
// The most that was asked for in one piece since the last call.
size_t takeLargestRequest();

} // namespace countedHeap

#endif
