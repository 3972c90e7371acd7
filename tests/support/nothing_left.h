// A stretch of a test that leaves no memory and no descriptor behind.
#ifndef TESTS_SUPPORT_NOTHING_LEFT_H
#define TESTS_SUPPORT_NOTHING_LEFT_H

#include "support/failing_malloc.h"
#include "support/open_descriptors.h"

#include <gtest/gtest.h>

// Each fails the test where it ends if there are others than when it began.

// Blocks of this thread, in programs that link zerova_failing_malloc.
class NoBlockLeft
{
public:
   NoBlockLeft() = default;
   NoBlockLeft(const NoBlockLeft&) = delete;
   NoBlockLeft& operator=(const NoBlockLeft&) = delete;
   ~NoBlockLeft()
   {
      const ptrdiff_t left = liveBlocks() - before_;
      EXPECT_EQ(left, 0) << "blocks";
   }

private:
   const ptrdiff_t before_ = liveBlocks();
};

// Descriptors of the process, whose other threads open and close none meanwhile.
class NoDescriptorLeft
{
public:
   NoDescriptorLeft() = default;
   NoDescriptorLeft(const NoDescriptorLeft&) = delete;
   NoDescriptorLeft& operator=(const NoDescriptorLeft&) = delete;
   ~NoDescriptorLeft() { EXPECT_EQ(openDescriptors(), before_) << "descriptors"; }

private:
   const size_t before_ = openDescriptors();
};

#endif
