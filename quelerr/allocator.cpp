#include "quelerr/allocator.h"

#include "quelerr/report.h"

#include <cstdlib>

namespace {

// One site for all containers, so its line is a constant too.
constexpr quelerr_Location kAllocationSite{"quelerr/Allocator", 33, "zerovaapi",
                                           "tamrixerr_memoryFull"};

} // namespace

void* quelerr_allocate(size_t size)
{
   return std::malloc(size ? size : 1);
}

void quelerr_free(void* block)
{
   std::free(block);
}

void quelerr_reportOutOfMemory(quelerr_Status* status)
{
   if (!quelerr_Status_setWithSite(status, tamrixerr_memoryFull, kAllocationSite)) return;
   // Gives a text that could not be had a moment ago its second chance; it then is "{}".
   quelerr_JsonWriter unused;
   quelerr_Status_beginWriter(&unused, status);
}
