#include "support/heap_watch.h"

#include <gtest/gtest.h>

#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <thread>

namespace {

using zerova::test::HeapWatch;

// Calls the function itself: an allocation that nothing uses may be left out by a compiler.
void allocateAndRelease()
{
   ::operator delete(::operator new(1));
}

TEST(HeapWatch, CountsRequestsAndBytes)
{
   const HeapWatch watch;
   auto big = std::make_unique<char[]>(5000);
   const auto small = std::make_unique<int>(1);
   big.reset();
   EXPECT_EQ(watch.count(), 2u);
   EXPECT_EQ(watch.largest(), 5000u);
   EXPECT_GE(watch.peak(), 5004u);
   EXPECT_GE(watch.inUse(), 4);
   EXPECT_LT(watch.inUse(), 5000);
}

TEST(HeapWatch, FailsTheRequestItWasToldTo)
{
   HeapWatch watch;
   watch.failNth(2);
   allocateAndRelease();
   EXPECT_FALSE(watch.hasFailed());
   EXPECT_THROW(allocateAndRelease(), std::bad_alloc);
   EXPECT_TRUE(watch.hasFailed());
   EXPECT_NO_THROW(allocateAndRelease());
}

TEST(HeapWatch, RaisesWhatItWasTold)
{
   HeapWatch watch;
   watch.failNth(1, [] { throw std::logic_error("raised"); });
   EXPECT_THROW(allocateAndRelease(), std::logic_error);
}

TEST(HeapWatch, FailsEveryRequestAboveItsLimit)
{
   HeapWatch watch;
   watch.failAbove(1000);
   ::operator delete(::operator new(1000));
   EXPECT_FALSE(watch.hasFailed());
   for (int i = 0; i < 2; ++i)
      EXPECT_THROW(::operator delete(::operator new(1001)), std::bad_alloc);
   EXPECT_TRUE(watch.hasFailed());
}

TEST(HeapWatch, LeavesOtherThreadsAlone)
{
   HeapWatch watch;
   std::size_t before = 0;
   std::thread other([&before] { before = std::make_unique<std::string>(1000, 'x')->size(); });
   const std::size_t ofStart = watch.count();
   other.join();
   EXPECT_EQ(before, 1000u);
   EXPECT_EQ(watch.count(), ofStart);
}

} // namespace
