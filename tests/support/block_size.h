// The bytes of a block that malloc gave, as the allocator rounded them.
#ifndef TESTS_SUPPORT_BLOCK_SIZE_H
#define TESTS_SUPPORT_BLOCK_SIZE_H

#include <cstddef>

size_t blockSize(void* block);

#endif
