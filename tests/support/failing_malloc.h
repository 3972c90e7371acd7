// Lets chosen allocations fail.
//
// A program that links zerova_failing_malloc has a malloc, calloc, realloc and aligned_alloc of its
// own in front of the system's, for its own code and for every library that it loads; operator new
// comes this way too, except under a sanitizer, which brings its own. Only the thread that holds a
// FailingMalloc is affected. Assertions allocate, so make them when the object is gone.
#ifndef TESTS_SUPPORT_FAILING_MALLOC_H
#define TESTS_SUPPORT_FAILING_MALLOC_H

#include "support/open_descriptors.h"

#include <cstddef>
#include <gtest/gtest.h>
#include <ostream>

class FailingMalloc
{
public:
   enum class Then
   {
      succeed,
      failAlways
   };

   // Fails the allocation number index of this thread, counted from 0 and from now on, and, if
   // asked, all behind it. One object at a time in a thread.
   explicit FailingMalloc(size_t index, Then then = Then::succeed);
   FailingMalloc(const FailingMalloc&) = delete;
   FailingMalloc& operator=(const FailingMalloc&) = delete;
   ~FailingMalloc();

   // Allocations of this thread since construction, failed ones included.
   size_t count() const;
   bool hasFailed() const;

private:
   const size_t index_;
};

// Blocks that this thread has taken so far less those that it has given back: equal before and
// after something that leaves nothing behind. Blocks that go from one thread to another spoil it.
ptrdiff_t liveBlocks();

// liveBlocks and the open descriptors of the process: equal before and after something that leaves
// nothing behind.
struct Held
{
   ptrdiff_t blocks;
   size_t descriptors;

   friend bool operator==(const Held&, const Held&) = default;
   friend std::ostream& operator<<(std::ostream& out, const Held& held)
   {
      return out << held.blocks << " blocks, " << held.descriptors << " descriptors";
   }
};

inline Held held()
{
   return {liveBlocks(), openDescriptors()};
}

// Runs attempt(index) with the first allocation failing, then with the second, and so on, until one
// runs through without a failure. check(index) runs after each failed one, with memory to be had.
// Returns the number of allocations of the last run. No attempt may leave a descriptor open.
template <typename Attempt, typename Check>
size_t forEachFailingAllocation(FailingMalloc::Then then, Attempt attempt, Check check)
{
   for (size_t index = 0;; ++index) {
      const size_t descriptors = openDescriptors();
      size_t count = 0;
      bool hasFailed = false;
      {
         FailingMalloc failing(index, then);
         attempt(index);
         count = failing.count();
         hasFailed = failing.hasFailed();
      }
      EXPECT_EQ(openDescriptors(), descriptors) << "left open by attempt " << index;
      if (!hasFailed) return count;
      check(index);
   }
}

#endif
