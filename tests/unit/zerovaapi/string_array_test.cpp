#include "source/zerovaapi/string_array.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using namespace zerova;

constexpr uint64_t kMax = std::numeric_limits<uint64_t>::max();

TEST(StringArray, HoldsThePointersThenTheTextsBackToBack)
{
   char** const array = makeStringArray({"one", "", "three"});
   char* const first = reinterpret_cast<char*>(array + 4);
   EXPECT_EQ(array[0], first);
   EXPECT_STREQ(array[0], "one");
   EXPECT_EQ(array[1], first + 4);
   EXPECT_STREQ(array[1], "");
   EXPECT_EQ(array[2], first + 5);
   EXPECT_STREQ(array[2], "three");
   EXPECT_EQ(array[3], nullptr);
   std::free(array);
}

TEST(StringArray, OfNoTextsHoldsJustTheNull)
{
   char** const array = makeStringArray({});
   ASSERT_NE(array, nullptr);
   EXPECT_EQ(array[0], nullptr);
   std::free(array);
}

TEST(StringArray, KeepsBytesBehindANulInsideAText)
{
   char** const array = makeStringArray({std::string("a\0b", 3), "c"});
   EXPECT_EQ(std::string(array[0], 4), std::string("a\0b\0", 4));
   EXPECT_STREQ(array[1], "c");
   std::free(array);
}

TEST(StringArray, SizesAreExactUpToTheLargest)
{
   EXPECT_EQ(checkedSum(kMax - 1, 1), kMax);
   EXPECT_EQ(checkedProduct(kMax / 8, 8), kMax - 7);
   EXPECT_EQ(checkedProduct(kMax, 0), 0u);
   EXPECT_EQ(checkedProduct(0, kMax), 0u);
}

template <typename Body>
std::string overflowText(Body body)
{
   try {
      body();
   } catch (const std::overflow_error& e) {
      return e.what();
   }
   return "no overflow";
}

TEST(StringArray, SizeThatOverflowsThrows)
{
   const std::string text = "overflow while operating on SafeInt";
   EXPECT_EQ(overflowText([] { checkedSum(kMax, 1); }), text);
   EXPECT_EQ(overflowText([] { checkedSum(1, kMax); }), text);
   EXPECT_EQ(overflowText([] { checkedProduct(kMax / 8 + 1, 8); }), text);
}

TEST(CopyTexts, StopsAtTheNull)
{
   const char* const texts[] = {"a", "", "c", nullptr, "never"};
   EXPECT_EQ(copyTexts(texts), (std::vector<std::string>{"a", "", "c"}));
}

TEST(CopyTexts, NullAndEmptyArraysGiveNoTexts)
{
   const char* const none[] = {nullptr};
   EXPECT_TRUE(copyTexts(none).empty());
   EXPECT_TRUE(copyTexts(nullptr).empty());
}

} // namespace
