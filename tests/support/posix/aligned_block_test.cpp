#include "support/failing_malloc.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace {

// Through a volatile pointer, so that no compiler leaves an allocation out.
void* (*volatile allocateAligned)(size_t, size_t) = std::aligned_alloc;

TEST(FailingMalloc, AlignedAllocationCountsAndFails)
{
   const ptrdiff_t before = liveBlocks();
   void* refused;
   void* block;
   size_t count;
   {
      const FailingMalloc failing(0);
      refused = allocateAligned(64, 64);
      block = allocateAligned(64, 64);
      count = failing.count();
   }
   const ptrdiff_t taken = liveBlocks() - before;
   std::free(block);
   EXPECT_EQ(refused, nullptr);
   EXPECT_EQ(count, 2u);
   EXPECT_EQ(taken, 1);
   EXPECT_EQ(liveBlocks(), before);
}

} // namespace
