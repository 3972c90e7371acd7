#include "support/block_size.h"

#include <malloc.h>

size_t blockSize(void* block)
{
   return malloc_usable_size(block);
}
