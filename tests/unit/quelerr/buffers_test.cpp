#include "quelerr/buffers.h"

#include "quelerr/wide_string.h"
#include "support/failing_malloc.h"
#include "support/owned.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>

namespace {

constexpr int32_t kMemoryFull = -52000;

void append(OwnedByteBuffer& buffer, const char* text)
{
   OwnedStatus status;
   const size_t length = std::strlen(text);
   char* const gap = quelerr_ByteBuffer_makeGap(&buffer, buffer.length, length, &status);
   ASSERT_NE(gap, nullptr);
   std::memcpy(gap, text, length);
   buffer.length += length;
}

std::string textOf(const OwnedByteBuffer& buffer)
{
   return std::string(buffer.data, buffer.length);
}

TEST(ByteBuffer, FirstGapAllocatesAtLeastEightBytes)
{
   OwnedByteBuffer buffer;
   append(buffer, "abc");
   EXPECT_EQ(buffer.capacity, 8u);
}

TEST(ByteBuffer, GrowsByHalfOrToWhatIsNeeded)
{
   OwnedByteBuffer buffer;
   append(buffer, "12345678");
   append(buffer, "9");
   EXPECT_EQ(buffer.capacity, 12u);
   append(buffer, "0123456789012345678901234567890123456789");
   EXPECT_EQ(buffer.capacity, 49u);
}

TEST(ByteBuffer, GapMovesTheTailUpAndLeavesTheLength)
{
   OwnedByteBuffer buffer;
   append(buffer, "abef");
   OwnedStatus status;
   char* const gap = quelerr_ByteBuffer_makeGap(&buffer, 2, 2, &status);
   EXPECT_EQ(gap, buffer.data + 2);
   EXPECT_EQ(buffer.length, 4u);
   gap[0] = 'c';
   gap[1] = 'd';
   buffer.length = 6;
   EXPECT_EQ(textOf(buffer), "abcdef");
}

TEST(ByteBuffer, GapMovesTheTailThroughAReallocationToo)
{
   OwnedByteBuffer buffer;
   append(buffer, "1234678");
   OwnedStatus status;
   char* const gap = quelerr_ByteBuffer_makeGap(&buffer, 4, 3, &status);
   ASSERT_NE(gap, nullptr);
   std::memcpy(gap, "555", 3);
   buffer.length += 3;
   EXPECT_EQ(textOf(buffer), "1234555678");
}

TEST(ByteBuffer, LengthThatWrapsAroundIsMemoryFull)
{
   OwnedByteBuffer buffer;
   append(buffer, "abc");
   OwnedStatus status;
   EXPECT_EQ(quelerr_ByteBuffer_makeGap(&buffer, 3, SIZE_MAX, &status), nullptr);
   EXPECT_EQ(status.code, kMemoryFull);
   EXPECT_EQ(textOf(buffer), "abc");
}

TEST(ByteBuffer, FailedAllocationLeavesTheContent)
{
   OwnedByteBuffer buffer;
   append(buffer, "abc");
   OwnedStatus status;
   char* gap;
   {
      FailingMalloc failing(0);
      gap = quelerr_ByteBuffer_makeGap(&buffer, 0, 100, &status);
   }
   EXPECT_EQ(gap, nullptr);
   EXPECT_EQ(status.code, kMemoryFull);
   EXPECT_EQ(textOf(buffer), "abc");
   EXPECT_EQ(buffer.capacity, 8u);
}

TEST(ByteBuffer, ErrorInTheStatusKeepsItAsItIs)
{
   OwnedByteBuffer buffer;
   append(buffer, "abc");
   OwnedStatus status(-1);
   EXPECT_EQ(quelerr_ByteBuffer_makeGap(&buffer, 1, 1, &status), nullptr);
   EXPECT_EQ(textOf(buffer), "abc");
}

TEST(Containers, GiveTheirMemoryBackAsTheyGrowAndWhenTheyAreReleased)
{
   OwnedStatus status;
   quelerr_String string{};
   quelerr_WideString wideString{};
   quelerr_ByteBuffer bytes{};
   quelerr_WideBuffer units{};
   const ptrdiff_t before = liveBlocks();
   for (size_t size = 1; size < 3000; size *= 2) {
      quelerr_String_reserve(&string, size, &status);
      quelerr_WideString_reserve(&wideString, size, &status);
      quelerr_ByteBuffer_makeGap(&bytes, 0, size, &status);
      bytes.length = size;
      quelerr_WideBuffer_resize(&units, size, &status);
   }
   const ptrdiff_t held = liveBlocks() - before;
   quelerr_String_release(&string);
   quelerr_WideString_release(&wideString);
   quelerr_ByteBuffer_release(&bytes);
   quelerr_WideBuffer_release(&units);
   const ptrdiff_t left = liveBlocks() - before;
   EXPECT_EQ(status.code, 0);
   EXPECT_EQ(held, 4);
   EXPECT_EQ(left, 0);
}

TEST(ByteBuffer, ReleaseLeavesAValidEmptyBuffer)
{
   OwnedByteBuffer buffer;
   append(buffer, "abc");
   quelerr_ByteBuffer_release(&buffer);
   EXPECT_EQ(buffer.data, nullptr);
   EXPECT_EQ(buffer.capacity, 0u);
   EXPECT_EQ(buffer.length, 0u);
}

TEST(WideBuffer, NewUnitsOfAResizeAreZero)
{
   OwnedWideBuffer buffer;
   OwnedStatus status;
   quelerr_WideBuffer_resize(&buffer, 3, &status);
   EXPECT_EQ(unitsOf(buffer), std::u16string(3, u'\0'));
   EXPECT_EQ(buffer.capacity, 8u);
   buffer.data[0] = 'a';
   quelerr_WideBuffer_resize(&buffer, 1, &status);
   buffer.data[1] = 'x';
   quelerr_WideBuffer_resize(&buffer, 20, &status);
   EXPECT_EQ(unitsOf(buffer), u"a" + std::u16string(19, u'\0'));
   EXPECT_EQ(buffer.capacity, 20u);
}

TEST(WideBuffer, GapCountsUnits)
{
   OwnedWideBuffer buffer;
   OwnedStatus status;
   quelerr_WideBuffer_resize(&buffer, 2, &status);
   buffer.data[0] = 0x1234;
   buffer.data[1] = 0xABCD;
   uint16_t* const gap = quelerr_WideBuffer_makeGap(&buffer, 1, 7, &status);
   ASSERT_EQ(gap, buffer.data + 1);
   EXPECT_EQ(buffer.data[0], 0x1234);
   EXPECT_EQ(buffer.data[8], 0xABCD);
   EXPECT_EQ(buffer.capacity, 12u);
}

TEST(WideBuffer, CountThatWrapsInBytesIsMemoryFull)
{
   OwnedWideBuffer buffer;
   OwnedStatus status;
   quelerr_WideBuffer_resize(&buffer, SIZE_MAX / 2 + 1, &status);
   EXPECT_EQ(status.code, kMemoryFull);
   EXPECT_EQ(buffer.length, 0u);
   EXPECT_EQ(buffer.data, nullptr);
}

TEST(WideBuffer, FailedResizeLeavesTheContent)
{
   OwnedWideBuffer buffer;
   OwnedStatus status;
   quelerr_WideBuffer_resize(&buffer, 1, &status);
   buffer.data[0] = 'a';
   {
      FailingMalloc failing(0);
      quelerr_WideBuffer_resize(&buffer, 100, &status);
   }
   EXPECT_EQ(status.code, kMemoryFull);
   EXPECT_EQ(unitsOf(buffer), u"a");
}

TEST(WideBuffer, ErrorInTheStatusKeepsItAsItIs)
{
   OwnedWideBuffer buffer;
   OwnedStatus status;
   quelerr_WideBuffer_resize(&buffer, 2, &status);
   status.code = -1;
   quelerr_WideBuffer_resize(&buffer, 1, &status);
   EXPECT_EQ(buffer.length, 2u);
   quelerr_WideBuffer_resize(&buffer, 100, &status);
   EXPECT_EQ(buffer.length, 2u);
   EXPECT_EQ(buffer.capacity, 8u);
}

TEST(WideString, GrowsAsTextsDo)
{
   OwnedWideString string;
   OwnedStatus status;
   quelerr_WideString_pushBack(&string, 0x3042, &status);
   EXPECT_EQ(string.capacity, 127u);
   EXPECT_EQ(string.data[1], 0u);
   for (int i = 0; i < 127; ++i)
      quelerr_WideString_pushBack(&string, 'x', &status);
   EXPECT_EQ(string.capacity, 190u);
   EXPECT_EQ(unitsOf(string), u"\u3042" + std::u16string(127, u'x'));
   EXPECT_EQ(string.data[128], 0u);
}

TEST(WideString, FailedPushLeavesTheText)
{
   OwnedWideString string;
   OwnedStatus status;
   for (int i = 0; i < 127; ++i)
      quelerr_WideString_pushBack(&string, 'x', &status);
   {
      FailingMalloc failing(0);
      quelerr_WideString_pushBack(&string, 'y', &status);
   }
   EXPECT_EQ(status.code, kMemoryFull);
   EXPECT_EQ(unitsOf(string), std::u16string(127, u'x'));
   EXPECT_EQ(string.data[127], 0u);
}

TEST(WideString, SizeThatWrapsInBytesIsMemoryFull)
{
   OwnedWideString string;
   OwnedStatus status;
   quelerr_WideString_reserve(&string, SIZE_MAX / 2, &status);
   EXPECT_EQ(status.code, kMemoryFull);
   EXPECT_EQ(string.data, nullptr);
}

TEST(WideString, ErrorInTheStatusKeepsItAsItIs)
{
   OwnedWideString string;
   OwnedStatus status(-1);
   quelerr_WideString_pushBack(&string, 'x', &status);
   EXPECT_EQ(string.data, nullptr);
}

} // namespace
