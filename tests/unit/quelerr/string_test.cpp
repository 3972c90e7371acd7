#include "quelerr/string.h"

#include "support/failing_malloc.h"
#include "support/owned.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>

namespace {

constexpr int32_t kMemoryFull = -52000;
constexpr const char* kMemoryFullText =
   R"({"error_constant":"tamrixerr_memoryFull","file":"quelerr/Allocator","line":33,)"
   R"("component":"zerovaapi"})";

void reserve(quelerr_String& string, size_t wanted)
{
   OwnedStatus status;
   quelerr_String_reserve(&string, wanted, &status);
   ASSERT_EQ(status.code, 0) << status.text();
}

TEST(StringReserve, ZeroOnAFreshStringAllocates128Bytes)
{
   OwnedString string;
   reserve(string, 0);
   EXPECT_EQ(string.capacity, 127u);
   ASSERT_NE(string.data, nullptr);
   EXPECT_EQ(string.data[0], '\0');
   EXPECT_EQ(string.length, 0u);
   string.data[127] = 'x'; // the 128th byte is there: a sanitizer would see it otherwise
}

TEST(StringReserve, LessThanTheCapacityChangesNothing)
{
   OwnedString string;
   reserve(string, 200);
   const char* const data = string.data;
   reserve(string, 1);
   EXPECT_EQ(string.data, data);
   EXPECT_EQ(string.capacity, 200u);
}

TEST(StringReserve, GrowsByHalfOfTheCapacity)
{
   OwnedString string;
   reserve(string, 127);
   reserve(string, 128);
   EXPECT_EQ(string.capacity, 190u);
   reserve(string, 191);
   EXPECT_EQ(string.capacity, 285u);
}

TEST(StringReserve, MoreThanHalfAgainIsTakenAsAsked)
{
   OwnedString string;
   reserve(string, 127);
   reserve(string, 1000);
   EXPECT_EQ(string.capacity, 1000u);
}

TEST(StringReserve, The128thByteOfAFreshStringIsTakenAsAsked)
{
   OwnedString string;
   reserve(string, 128);
   EXPECT_EQ(string.capacity, 128u);
}

TEST(StringReserve, ContentSurvivesGrowth)
{
   OwnedString string("content");
   reserve(string, 5000);
   EXPECT_EQ(string.text(), "content");
   EXPECT_EQ(string.data[7], '\0');
}

TEST(StringReserve, SizeThatLeavesNoRoomForTheTerminatorIsMemoryFull)
{
   OwnedString string("content");
   OwnedStatus status;
   quelerr_String_reserve(&string, SIZE_MAX, &status);
   EXPECT_EQ(status.code, kMemoryFull);
   EXPECT_EQ(status.text(), kMemoryFullText);
   EXPECT_EQ(string.text(), "content");
}

TEST(StringReserve, ImpossibleSizeIsMemoryFull)
{
   OwnedString string("content");
   OwnedStatus status;
   quelerr_String_reserve(&string, SIZE_MAX / 2, &status);
   EXPECT_EQ(status.code, kMemoryFull);
   EXPECT_EQ(string.text(), "content");
}

TEST(StringReserve, FailedAllocationLeavesTheStringAndReportsTheSharedSite)
{
   OwnedString string("content");
   const size_t capacity = string.capacity;
   OwnedStatus status;
   {
      FailingMalloc failing(0);
      quelerr_String_reserve(&string, 5000, &status);
   }
   EXPECT_EQ(status.code, kMemoryFull);
   EXPECT_EQ(status.text(), kMemoryFullText);
   EXPECT_EQ(string.text(), "content");
   EXPECT_EQ(string.capacity, capacity);
}

TEST(StringReserve, WithNoMemoryForTheReportTheCodeStandsAlone)
{
   OwnedString string;
   OwnedStatus status;
   {
      FailingMalloc failing(0, FailingMalloc::Then::failAlways);
      quelerr_String_reserve(&string, 1, &status);
   }
   EXPECT_EQ(status.code, kMemoryFull);
   EXPECT_EQ(status.json, nullptr);
}

TEST(StringReserve, ReportThatMissesItsFirstBufferAsksOnceMoreAndIsAnEmptyObject)
{
   OwnedString string;
   // Refuses the report's first request for a buffer and grants the second.
   struct LateStatus : OwnedStatus
   {
      bool hasAsked = false;
   } status;
   status.resize = [](quelerr_Status* asking, uint32_t newCapacity) {
      auto* const late = static_cast<LateStatus*>(asking);
      const bool grants = newCapacity == 0 || late->hasAsked;
      late->hasAsked = true;
      return grants && quelerr_defaultResize(asking, newCapacity);
   };
   {
      FailingMalloc failing(0);
      quelerr_String_reserve(&string, 1, &status);
   }
   EXPECT_EQ(status.code, kMemoryFull);
   EXPECT_EQ(status.text(), "{}");
}

TEST(StringReserve, WarningIsReplacedByMemoryFull)
{
   OwnedString string;
   OwnedStatus status(7);
   {
      FailingMalloc failing(0);
      quelerr_String_reserve(&string, 1, &status);
   }
   EXPECT_EQ(status.code, kMemoryFull);
}

TEST(StringAssign, ReplacesTheContent)
{
   OwnedString string("old and long");
   OwnedStatus status;
   quelerr_String_assign(&string, "new", 3, &status);
   EXPECT_EQ(string.text(), "new");
   EXPECT_EQ(string.data[3], '\0');
}

TEST(StringAssign, KeepsBytesBehindANul)
{
   OwnedString string;
   OwnedStatus status;
   quelerr_String_assign(&string, "a\0b", 3, &status);
   EXPECT_EQ(string.text(), std::string("a\0b", 3));
}

TEST(StringAssign, EmptySourceEmptiesTheString)
{
   OwnedString string("content");
   OwnedStatus status;
   quelerr_String_assign(&string, nullptr, 0, &status);
   EXPECT_EQ(string.text(), "");
   EXPECT_EQ(string.data[0], '\0');
}

TEST(StringAssign, EmptySourceNeedsNoMemory)
{
   OwnedString string;
   OwnedStatus status;
   quelerr_String_assign(&string, "", 0, &status);
   EXPECT_EQ(string.data, nullptr);
   EXPECT_EQ(status.code, 0);
}

TEST(StringAssign, LongerSourceGetsACapacityOfItsOwnSize)
{
   OwnedString string("content");
   OwnedStatus status;
   const std::string source(150, 'x');
   quelerr_String_assignRange(&string, source.data(), source.data() + source.size(), &status);
   EXPECT_EQ(string.text(), source);
   EXPECT_EQ(string.capacity, 150u) << "not the 190 of a string that grew";
}

TEST(StringAssign, WithoutMemoryTheOldTextStays)
{
   OwnedString string("content");
   OwnedStatus status;
   const std::string source(5000, 'x');
   {
      FailingMalloc failing(0);
      quelerr_String_assign(&string, source.data(), source.size(), &status);
   }
   EXPECT_EQ(status.code, kMemoryFull);
   EXPECT_EQ(string.text(), "content");
}

TEST(StringAssign, SourceMayLieInTheString)
{
   OwnedString string("0123456789");
   OwnedStatus status;
   quelerr_String_assign(&string, string.data + 2, 6, &status);
   EXPECT_EQ(string.text(), "234567");
}

TEST(StringAppend, AddsARangeAtTheEnd)
{
   OwnedString string("ab");
   OwnedStatus status;
   const char* const more = "cdef";
   quelerr_String_append(&string, more, more + 3, &status);
   EXPECT_EQ(string.text(), "abcde");
   EXPECT_EQ(string.data[5], '\0');
}

TEST(StringAppend, StringMayBeAppendedToItselfInPlace)
{
   OwnedString string("abc");
   OwnedStatus status;
   quelerr_String_append(&string, string.data, string.data + 3, &status);
   EXPECT_EQ(string.text(), "abcabc");
}

TEST(StringAppend, StringMayBeAppendedToItselfThroughAReallocation)
{
   std::string text;
   for (int i = 0; i < 100; ++i)
      text += static_cast<char>('a' + i % 26);
   OwnedString string(text);
   ASSERT_LT(string.capacity, 200u);
   OwnedStatus status;
   quelerr_String_append(&string, string.data, string.data + 100, &status);
   EXPECT_EQ(string.text(), text + text);
}

// The part begins in the bytes that a heap overwrites first when a block is freed.
TEST(StringAppend, PartOfTheStringMayBeAppendedThroughAReallocation)
{
   std::string text;
   for (int i = 0; i < 100; ++i)
      text += static_cast<char>('a' + i % 26);
   for (const size_t offset : {1u, 7u, 60u}) {
      OwnedString string(text);
      ASSERT_LT(string.capacity, 200u - offset);
      OwnedStatus status;
      quelerr_String_append(&string, string.data + offset, string.data + 100, &status);
      EXPECT_EQ(string.text(), text + text.substr(offset)) << offset;
   }
}

TEST(StringAppend, LengthThatWrapsAroundIsMemoryFull)
{
   OwnedString string("abc");
   OwnedStatus status;
   const auto* const first = reinterpret_cast<const char*>(uintptr_t{1});
   const auto* const last = reinterpret_cast<const char*>(UINTPTR_MAX);
   quelerr_String_append(&string, first, last, &status);
   EXPECT_EQ(status.code, kMemoryFull);
   EXPECT_EQ(string.text(), "abc");
}

TEST(StringAppend, WithoutMemoryTheTextStays)
{
   OwnedString string("content");
   OwnedStatus status;
   const std::string more(5000, 'x');
   {
      FailingMalloc failing(0);
      quelerr_String_appendText(&string, more.c_str(), &status);
   }
   EXPECT_EQ(status.code, kMemoryFull);
   EXPECT_EQ(string.text(), "content");
}

TEST(StringAppendBytes, AddsByteByByteUnderTheGrowthRule)
{
   OwnedString string;
   OwnedStatus status;
   const std::string bytes(200, 'x');
   quelerr_String_appendBytes(quelerr_StringSink{&string, &status}, bytes.data(), bytes.size());
   EXPECT_EQ(string.text(), bytes);
   EXPECT_EQ(string.capacity, 285u) << "127, then 190, then 285";
}

TEST(StringAppendBytes, SourceMayLieInTheString)
{
   OwnedString string(std::string(120, 'a') + "bcd");
   OwnedStatus status;
   quelerr_String_appendBytes(quelerr_StringSink{&string, &status}, string.data + 118, 5);
   EXPECT_EQ(string.text(), std::string(120, 'a') + "bcdaabcd");
}

TEST(StringAppendBytes, WithoutMemoryHalfWayTheTextStays)
{
   OwnedString string(std::string(120, 'a'));
   OwnedStatus status;
   {
      FailingMalloc failing(0);
      quelerr_String_appendBytes(quelerr_StringSink{&string, &status}, "0123456789", 10);
   }
   EXPECT_EQ(status.code, kMemoryFull);
   EXPECT_EQ(string.text(), std::string(120, 'a'));
   EXPECT_EQ(string.data[120], '\0');
}

TEST(StringInsertRange, OpensAGapAtThePosition)
{
   OwnedString string("abef");
   OwnedStatus status;
   const char* const more = "cd";
   quelerr_String_insertRange(&string, string.data + 2, more, more + 2, &status);
   EXPECT_EQ(string.text(), "abcdef");
   EXPECT_EQ(string.data[6], '\0');
}

TEST(StringInsertRange, PositionSurvivesAReallocation)
{
   OwnedString string("ad");
   OwnedStatus status;
   const std::string more(300, 'x');
   quelerr_String_insertRange(&string, string.data + 1, more.data(), more.data() + more.size(),
                              &status);
   EXPECT_EQ(string.text(), "a" + more + "d");
}

TEST(StringInsertRange, SourceMayLieAcrossThePosition)
{
   OwnedString string("abcd");
   OwnedStatus status;
   quelerr_String_insertRange(&string, string.data + 2, string.data + 1, string.data + 3, &status);
   EXPECT_EQ(string.text(), "abbccd");
}

TEST(StringInsertRange, FreshStringTakesItToo)
{
   OwnedString string;
   OwnedStatus status;
   const char* const more = "cd";
   quelerr_String_insertRange(&string, string.data, more, more + 2, &status);
   EXPECT_EQ(string.text(), "cd");
}

TEST(StringInsertRange, WithoutMemoryTheTextStays)
{
   // A source in the string needs two blocks: its copy and the larger string.
   for (const size_t failingIndex : {0u, 1u}) {
      const std::string text(100, 'a');
      OwnedString string(text);
      OwnedStatus status;
      {
         FailingMalloc failing(failingIndex);
         quelerr_String_insertRange(&string, string.data + 50, string.data, string.data + 60,
                                    &status);
      }
      EXPECT_EQ(status.code, kMemoryFull) << failingIndex;
      EXPECT_EQ(string.text(), text) << failingIndex;
   }
}

TEST(StringErase, RangeIsRemovedAndItsPlaceReturned)
{
   OwnedString string("abcdef");
   char* const place = quelerr_String_eraseRange(&string, string.data + 1, string.data + 3);
   EXPECT_EQ(place, string.data + 1);
   EXPECT_EQ(string.text(), "adef");
   EXPECT_EQ(string.data[4], '\0');
}

TEST(StringErase, EmptyRangeOfAFreshStringIsNothing)
{
   OwnedString string;
   EXPECT_EQ(quelerr_String_eraseRange(&string, string.data, string.data), nullptr);
}

TEST(StringErase, CountIsClippedToTheEnd)
{
   OwnedString string("abcdef");
   quelerr_String_eraseAt(&string, 4, SIZE_MAX);
   EXPECT_EQ(string.text(), "abcd");
   quelerr_String_eraseAt(&string, 1, 2);
   EXPECT_EQ(string.text(), "ad");
   quelerr_String_eraseAt(&string, 9, 1);
   EXPECT_EQ(string.text(), "ad");
}

TEST(StringRelease, LeavesAValidEmptyString)
{
   OwnedString string("abc");
   quelerr_String_release(&string);
   EXPECT_EQ(string.data, nullptr);
   EXPECT_EQ(string.capacity, 0u);
   EXPECT_EQ(string.length, 0u);
   quelerr_String_release(&string);
   reserve(string, 1);
   EXPECT_EQ(string.capacity, 127u);
}

TEST(String, ErrorInTheStatusKeepsEveryOperationAway)
{
   const char* const more = "more";
   using Operation = std::function<void(quelerr_String*, quelerr_Status*)>;
   const Operation operations[] = {
      [](auto* s, auto* status) { quelerr_String_reserve(s, 5000, status); },
      [=](auto* s, auto* status) { quelerr_String_assign(s, more, 4, status); },
      [=](auto* s, auto* status) { quelerr_String_assign(s, more, 0, status); },
      [=](auto* s, auto* status) { quelerr_String_assignRange(s, more, more + 4, status); },
      [=](auto* s, auto* status) { quelerr_String_append(s, more, more + 4, status); },
      [=](auto* s, auto* status) { quelerr_String_appendText(s, more, status); },
      [=](auto* s, auto* status) {
         quelerr_String_appendBytes(quelerr_StringSink{s, status}, more, 4);
      },
      [=](auto* s, auto* status) {
         quelerr_String_insertRange(s, s->data, more, more + 4, status);
      },
   };
   for (const Operation& operation : operations) {
      OwnedString string("content");
      const char* const data = string.data;
      OwnedStatus status(-1);
      operation(&string, &status);
      EXPECT_EQ(string.text(), "content");
      EXPECT_EQ(string.data, data);
      EXPECT_EQ(status.code, -1);
      EXPECT_EQ(status.json, nullptr);
   }
}

TEST(String, WarningStopsNothing)
{
   OwnedString string;
   OwnedStatus status(1);
   quelerr_String_appendText(&string, "text", &status);
   EXPECT_EQ(string.text(), "text");
   EXPECT_EQ(status.code, 1);
}

TEST(String, NeverWrittenToReadsAsTheEmptyText)
{
   const quelerr_String string{};
   EXPECT_STREQ(quelerr_String_text(&string), "");
}

} // namespace
