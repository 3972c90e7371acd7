#include "support/small_stack.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::AllOf;
using testing::Ge;
using testing::Lt;

// Uses that many frames of about a KiB, each written.
[[gnu::noinline]] int useKilobytes(int count)
{
   volatile char frame[1024];
   frame[0] = static_cast<char>(count);
   const int below = count > 1 ? useKilobytes(count - 1) : 0;
   return below + frame[0];
}

TEST(SmallStack, TellsWhatAnActionUses)
{
   int result = 0;
   const size_t nothing = stackUsedBy(65536, [&] { result += 1; });
   const size_t some = stackUsedBy(65536, [&] { result += useKilobytes(40); });
   EXPECT_THAT(nothing, Lt(4096u));
   EXPECT_THAT(some, AllOf(Ge(40u * 1024), Lt(48u * 1024)));
   EXPECT_EQ(result, 1 + 820);
}

TEST(SmallStack, LetsAnActionUseWhatItIsGiven)
{
   int result = 0;
   stackUsedBy(18u * 1024, [&] { result = useKilobytes(16); });
   EXPECT_EQ(result, 136);
}

TEST(SmallStackDeathTest, EndsTheProcessWhenAnActionNeedsMore)
{
   EXPECT_DEATH(stackUsedBy(16u * 1024, [&] { useKilobytes(200); }), "");
}

} // namespace
