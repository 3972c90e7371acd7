#include "support/failing_malloc.h"

#include "support/scratch_folder.h"
#include "support/starting_line.h"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <string>
#include <thread>

namespace {

// Through volatile pointers, so that no compiler leaves an allocation out.
void* (*volatile allocate)(size_t) = std::malloc;
void* (*volatile allocateZeroed)(size_t, size_t) = std::calloc;
void* (*volatile reallocate)(void*, size_t) = std::realloc;

bool succeeds()
{
   void* const block = allocate(16);
   std::free(block);
   return block != nullptr;
}

TEST(FailingMalloc, OnlyTheChosenAllocationFails)
{
   bool results[4];
   {
      FailingMalloc failing(2);
      for (bool& result : results)
         result = succeeds();
   }
   EXPECT_TRUE(results[0]);
   EXPECT_TRUE(results[1]);
   EXPECT_FALSE(results[2]);
   EXPECT_TRUE(results[3]);
}

TEST(FailingMalloc, AllBehindTheChosenOneFailIfAsked)
{
   bool results[4];
   {
      FailingMalloc failing(1, FailingMalloc::Then::failAlways);
      for (bool& result : results)
         result = succeeds();
   }
   EXPECT_TRUE(results[0]);
   EXPECT_FALSE(results[1]);
   EXPECT_FALSE(results[2]);
   EXPECT_FALSE(results[3]);
}

TEST(FailingMalloc, EveryKindOfAllocationCountsAndFails)
{
   void* blocks[3];
   size_t count;
   {
      FailingMalloc failing(0, FailingMalloc::Then::failAlways);
      blocks[0] = allocate(8);
      blocks[1] = allocateZeroed(1, 8);
      blocks[2] = reallocate(nullptr, 8);
      count = failing.count();
   }
   for (void* block : blocks)
      EXPECT_EQ(block, nullptr);
   EXPECT_EQ(count, 3u);
}

TEST(FailingMalloc, FailedReallocLeavesTheBlock)
{
   char* const block = static_cast<char*>(allocate(1));
   ASSERT_NE(block, nullptr);
   *block = 'x';
   void* larger;
   {
      FailingMalloc failing(0);
      larger = reallocate(block, 4096);
   }
   EXPECT_EQ(larger, nullptr);
   EXPECT_EQ(*block, 'x');
   std::free(block);
}

TEST(FailingMalloc, OtherThreadsAreLeftAlone)
{
   StartingLine start(2);
   bool result = false;
   std::thread other([&] {
      start.wait();
      result = succeeds();
   });
   {
      FailingMalloc failing(0, FailingMalloc::Then::failAlways);
      start.wait();
      other.join();
   }
   EXPECT_TRUE(result);
}

TEST(FailingMalloc, NothingFailsOnceTheObjectIsGone)
{
   {
      FailingMalloc failing(0, FailingMalloc::Then::failAlways);
   }
   EXPECT_TRUE(succeeds());
}

TEST(FailingMalloc, WalkFailsEachAllocationOnceAndReturnsTheirNumber)
{
   int failures = 0;
   const size_t count = forEachFailingAllocation(
      FailingMalloc::Then::succeed,
      [](size_t) {
         succeeds();
         succeeds();
         succeeds();
      },
      [&](size_t) { ++failures; });
   EXPECT_EQ(count, 3u);
   EXPECT_EQ(failures, 3);
}

TEST(FailingMalloc, WalkTellsOfTheDescriptorThatAnAttemptLeavesOpen)
{
   static std::ofstream left; // by the attempt that gets no memory
   const ScratchFolder folder;
   static std::string path;
   path = folder.path("opened");
   EXPECT_NONFATAL_FAILURE(forEachFailingAllocation(
                              FailingMalloc::Then::succeed,
                              [](size_t) {
                                 if (!succeeds()) left.open(path);
                              },
                              [](size_t) {}),
                           "left open by attempt 0");
   left.close();
}

TEST(FailingMalloc, LiveBlocksAreThoseTakenAndNotYetGivenBack)
{
   const ptrdiff_t before = liveBlocks();
   void* blocks[3] = {allocate(8), allocateZeroed(1, 8), reallocate(nullptr, 8)};
   const ptrdiff_t taken = liveBlocks() - before;
   blocks[0] = reallocate(blocks[0], 800);
   const ptrdiff_t grown = liveBlocks() - before;
   const bool isGone = reallocate(blocks[1], 0) == nullptr;
   const ptrdiff_t released = liveBlocks() - before;
   for (void* const block : {blocks[0], blocks[2]})
      std::free(block);
   std::free(nullptr);
   const ptrdiff_t left = liveBlocks() - before;
   EXPECT_EQ(taken, 3);
   EXPECT_EQ(grown, 3);
   EXPECT_TRUE(isGone);
   EXPECT_EQ(released, 2);
   EXPECT_EQ(left, 0);
}

TEST(FailingMalloc, BlockThatCouldNotGrowStaysTaken)
{
   const ptrdiff_t before = liveBlocks();
   void* const block = allocate(8);
   void* grown = nullptr;
   {
      const FailingMalloc failing(0);
      grown = reallocate(block, 800);
   }
   const ptrdiff_t taken = liveBlocks() - before;
   std::free(block);
   EXPECT_EQ(grown, nullptr);
   EXPECT_EQ(taken, 1);
   EXPECT_EQ(liveBlocks(), before);
}

} // namespace
