// The one source of memory of the containers that fail through a status.
#ifndef QUELERR_ALLOCATOR_H
#define QUELERR_ALLOCATOR_H

#include "quelerr_status.h"

#include <cstddef>

// A block of size bytes, of one byte for 0, or null; never throws. Give it back with quelerr_free.
void* quelerr_allocate(size_t size);
void quelerr_free(void* block);

// -52000 from the site that all containers share. It adds no member of its own.
void quelerr_reportOutOfMemory(quelerr_Status* status);

#endif
