#include "quelerr/status.h"

#include "quelerr/json_text.h"
#include "refusing_status.h"
#include "support/nothing_left.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

constexpr quelerr_Location kSite{"lorvex/utils_mbs", 26, "zerovaapi", "tamrixerr_invalidParameter"};
constexpr char kSiteJson[] = R"({"error_constant":"tamrixerr_invalidParameter",)"
                             R"("file":"lorvex/utils_mbs","line":26,"component":"zerovaapi"})";
constexpr quelerr_Location kOtherSite{"other", 1, "zerovaapi", "other"};

struct Status : testing::Test
{
   Status() { quelerr_Status_init(&status); }
   ~Status() override { quelerr_Status_release(&status); }

   void warn(int32_t code, const char* text)
   {
      ASSERT_TRUE(quelerr_Status_setCode(&status, code));
      ASSERT_TRUE(quelerr_Status_setJson(&status, text));
   }

   quelerr_Status status;
};

TEST_F(Status, StartsCleanWithoutBuffer)
{
   EXPECT_EQ(status.code, 0);
   EXPECT_EQ(status.capacity, 0u);
   EXPECT_EQ(status.json, nullptr);
   EXPECT_EQ(status.resize, quelerr_defaultResize);
}

TEST_F(Status, FirstErrorAllocates512BytesAndWritesTheSite)
{
   EXPECT_TRUE(quelerr_Status_setWithSite(&status, -52005, kSite));
   EXPECT_EQ(status.code, -52005);
   EXPECT_EQ(status.capacity, 512u);
   EXPECT_STREQ(status.json, kSiteJson);
   EXPECT_EQ(bufferFault(status), "");
}

TEST_F(Status, SiteWithoutComponentLeavesTheMemberOut)
{
   quelerr_Status_setWithSite(&status, -1, {"f", -3, nullptr, "e"});
   EXPECT_STREQ(status.json, R"({"error_constant":"e","file":"f","line":-3})");
}

TEST_F(Status, ErrorWithoutBufferKeepsTheCodeAndReturnsTrue)
{
   RefusingStatus refusing(0);
   EXPECT_TRUE(quelerr_Status_setWithSite(&refusing, -52005, kSite));
   EXPECT_EQ(refusing.code, -52005);
   EXPECT_EQ(refusing.json, nullptr);
   EXPECT_EQ(refusing.capacity, 0u);
}

TEST_F(Status, GrowthThatFailsLosesOnlyTheLaterMembers)
{
   const std::string longFile(600, 'f');
   RefusingStatus refusing(1);
   EXPECT_TRUE(quelerr_Status_setWithSite(&refusing, -1, {longFile.c_str(), 1, "c", "e"}));
   EXPECT_STREQ(refusing.json, R"({"error_constant":"e"})");
   EXPECT_EQ(bufferFault(refusing), "");
}

TEST_F(Status, ZeroIsNeverApplied)
{
   EXPECT_FALSE(quelerr_Status_setCode(&status, 0));
   warn(7, "{\"w\":1}");
   EXPECT_FALSE(quelerr_Status_setCode(&status, 0));
   EXPECT_EQ(status.code, 7);
   EXPECT_STREQ(status.json, "{\"w\":1}");
}

TEST_F(Status, SetCodeOnARecordWithoutBufferAllocatesNothing)
{
   EXPECT_TRUE(quelerr_Status_setCode(&status, -5));
   EXPECT_EQ(status.json, nullptr);
}

TEST_F(Status, FirstWarningKeepsItsTextAgainstASecond)
{
   warn(7, "{\"w\":1}");
   EXPECT_FALSE(quelerr_Status_setWithSite(&status, 8, kSite));
   EXPECT_EQ(status.code, 7);
   EXPECT_STREQ(status.json, "{\"w\":1}");
}

TEST_F(Status, WarningIsReplacedByErrorWithItsText)
{
   warn(7, "{\"w\":1}");
   EXPECT_TRUE(quelerr_Status_setWithSite(&status, -52005, kSite));
   EXPECT_EQ(status.code, -52005);
   EXPECT_STREQ(status.json, kSiteJson);
}

TEST_F(Status, TextOfAReplacedWarningDoesNotSurviveABareCode)
{
   warn(7, "{\"w\":1}");
   EXPECT_TRUE(quelerr_Status_setCode(&status, -3));
   EXPECT_STREQ(status.json, "{}");
   EXPECT_EQ(bufferFault(status), "");
}

TEST_F(Status, FirstErrorStays)
{
   quelerr_Status_setWithSite(&status, -52005, kSite);
   for (const int32_t code : {-1, 0, 1}) {
      EXPECT_FALSE(quelerr_Status_setWithSite(&status, code, kOtherSite));
      EXPECT_FALSE(quelerr_Status_setCode(&status, code));
   }
   EXPECT_EQ(status.code, -52005);
   EXPECT_STREQ(status.json, kSiteJson);
}

TEST_F(Status, OutOfMemoryReplacesAWarningAndNamesNoConstant)
{
   warn(7, "{\"w\":1}");
   EXPECT_TRUE(quelerr_Status_setOutOfMemory(&status, {"f", 4, "zerovaapi", "never read"}));
   EXPECT_EQ(status.code, -52000);
   EXPECT_STREQ(status.json, R"({"file":"f","line":4,"component":"zerovaapi"})");
}

TEST_F(Status, OutOfMemoryLosesToAnError)
{
   quelerr_Status_setWithSite(&status, -52005, kSite);
   EXPECT_FALSE(quelerr_Status_setOutOfMemory(&status, kOtherSite));
   EXPECT_EQ(status.code, -52005);
   EXPECT_STREQ(status.json, kSiteJson);
}

TEST_F(Status, AdoptWithEqualResizeMovesTheBuffer)
{
   quelerr_Status source;
   quelerr_Status_init(&source);
   quelerr_Status_setWithSite(&source, -52005, kSite);
   const char* const text = source.json;
   EXPECT_TRUE(quelerr_Status_adopt(&status, &source));
   EXPECT_EQ(status.json, text);
   EXPECT_EQ(status.capacity, 512u);
   EXPECT_EQ(status.code, -52005);
   EXPECT_EQ(source.json, nullptr);
   EXPECT_EQ(source.capacity, 0u);
   EXPECT_EQ(source.code, -52005);
}

TEST_F(Status, AdoptWithDifferentResizeCopiesTheText)
{
   RefusingStatus source(100);
   quelerr_Status_setWithSite(&source, -52005, kSite);
   EXPECT_TRUE(quelerr_Status_adopt(&status, &source));
   EXPECT_NE(status.json, source.json);
   EXPECT_STREQ(status.json, kSiteJson);
   EXPECT_STREQ(source.json, kSiteJson);
   EXPECT_EQ(source.code, -52005);
}

TEST_F(Status, AdoptGivesTheBufferOfTheDestinationBack)
{
   const NoBlockLeft noBlock;
   for (const bool hasText : {true, false}) {
      quelerr_Status destination;
      quelerr_Status source;
      quelerr_Status_init(&destination);
      quelerr_Status_init(&source);
      destination.code = 7;
      quelerr_Status_setJson(&destination, "{\"w\":1}");
      source.code = -52005;
      if (hasText) quelerr_Status_setJson(&source, kSiteJson);
      EXPECT_TRUE(quelerr_Status_adopt(&destination, &source));
      EXPECT_EQ(destination.json != nullptr, hasText);
      quelerr_Status_release(&destination);
      quelerr_Status_release(&source);
   }
}

TEST_F(Status, AdoptThatLosesChangesNeither)
{
   quelerr_Status_setWithSite(&status, -52005, kSite);
   quelerr_Status source;
   quelerr_Status_init(&source);
   quelerr_Status_setWithSite(&source, -1, kOtherSite);
   EXPECT_FALSE(quelerr_Status_adopt(&status, &source));
   EXPECT_STREQ(status.json, kSiteJson);
   EXPECT_NE(source.json, nullptr);
   quelerr_Status_release(&source);
}

TEST_F(Status, AdoptOfATextlessSourceEndsWithoutText)
{
   warn(7, "{\"w\":1}");
   quelerr_Status source;
   quelerr_Status_init(&source);
   quelerr_Status_setCode(&source, -4);
   EXPECT_TRUE(quelerr_Status_adopt(&status, &source));
   EXPECT_EQ(status.code, -4);
   EXPECT_EQ(status.json, nullptr);
   EXPECT_EQ(status.capacity, 0u);
}

TEST_F(Status, DefaultResizeRoundsUpToPowersOfTwo)
{
   EXPECT_TRUE(quelerr_defaultResize(&status, 1));
   EXPECT_EQ(status.capacity, 512u);
   EXPECT_STREQ(status.json, "{}");
   EXPECT_TRUE(quelerr_defaultResize(&status, 513));
   EXPECT_EQ(status.capacity, 1024u);
   EXPECT_EQ(bufferFault(status), "");
   const char* const held = status.json;
   EXPECT_TRUE(quelerr_defaultResize(&status, 1024));
   EXPECT_TRUE(quelerr_defaultResize(&status, 3));
   EXPECT_EQ(status.json, held);
   EXPECT_EQ(status.capacity, 1024u);
}

TEST_F(Status, DefaultResizeAllocates1024For1024)
{
   EXPECT_TRUE(quelerr_defaultResize(&status, 1024));
   EXPECT_EQ(status.capacity, 1024u);
}

TEST_F(Status, DefaultResizeRefusesAbove2GiB)
{
   quelerr_defaultResize(&status, 4);
   EXPECT_FALSE(quelerr_defaultResize(&status, 0x80000000u));
   EXPECT_EQ(status.capacity, 512u);
   EXPECT_STREQ(status.json, "{}");
}

TEST_F(Status, DefaultResizeToZeroGivesBackAndIsHarmlessTwice)
{
   quelerr_defaultResize(&status, 4);
   EXPECT_TRUE(quelerr_defaultResize(&status, 0));
   EXPECT_EQ(status.json, nullptr);
   EXPECT_TRUE(quelerr_defaultResize(&status, 0));
   EXPECT_EQ(status.capacity, 0u);
}

TEST_F(Status, SetJsonReturnsTheLastCharacterAndKeepsABufferThatFits)
{
   const char* const end = quelerr_Status_setJson(&status, "{\"a\":1}");
   ASSERT_NE(end, nullptr);
   EXPECT_EQ(end, status.json + 6);
   const char* const held = status.json;
   EXPECT_EQ(quelerr_Status_setJson(&status, nullptr), held + 1);
   EXPECT_STREQ(status.json, "{}");
   EXPECT_EQ(bufferFault(status), "");
}

TEST_F(Status, SetJsonOfAnEmptyTextLeavesAnEmptyText)
{
   EXPECT_EQ(quelerr_Status_setJson(&status, ""), status.json);
   EXPECT_STREQ(status.json, "");
   EXPECT_EQ(status.json[status.capacity - 1], kJsonSentinel);
}

TEST_F(Status, SetJsonNeedsRoomForTerminatorAndSentinel)
{
   const std::string fits(510, ' ');
   quelerr_Status_setJson(&status, fits.c_str());
   EXPECT_EQ(status.capacity, 512u);
   const std::string tooLong(511, ' ');
   quelerr_Status_setJson(&status, tooLong.c_str());
   EXPECT_EQ(status.capacity, 1024u);
}

TEST_F(Status, TextThatJustFitsAsksForNoBuffer)
{
   RefusingStatus record(1);
   quelerr_Status_setJson(&record, nullptr);
   const std::string fits = "{" + std::string(508, ' ') + "}";
   EXPECT_NE(quelerr_Status_setJson(&record, fits.c_str()), nullptr);
   EXPECT_EQ(record.json, fits);
   EXPECT_EQ(record.calls, 1);
   EXPECT_EQ(bufferFault(record), "");
   EXPECT_EQ(quelerr_Status_setJson(&record, (fits + " ").c_str()), nullptr);
   EXPECT_EQ(record.calls, 2);
}

TEST_F(Status, WriterOnTheLeastBufferAsksForNone)
{
   char text[] = {'{', '}', 0, kJsonSentinel};
   status.json = text;
   status.capacity = sizeof text;
   status.resize = [](quelerr_Status*, uint32_t) { return false; };
   quelerr_JsonWriter writer;
   quelerr_Status_beginWriter(&writer, &status);
   EXPECT_EQ(writer.position, text + 1);
   status.json = nullptr;
   status.capacity = 0;
}

TEST_F(Status, SetJsonWithARefusingResizeReturnsNull)
{
   RefusingStatus refusing(0);
   EXPECT_EQ(quelerr_Status_setJson(&refusing, "{}"), nullptr);
   EXPECT_EQ(refusing.json, nullptr);
}

TEST_F(Status, GrowJsonRefusesCapacitiesZeroAndOne)
{
   char one[] = "J";
   status.json = one;
   for (const uint32_t capacity : {0u, 1u}) {
      status.capacity = capacity;
      EXPECT_EQ(quelerr_Status_growJson(one, &status), nullptr);
   }
   status.json = nullptr;
   status.capacity = 0;
}

TEST_F(Status, GrowJsonRefusesCapacitiesAbove1GiB)
{
   char text[] = "{}";
   status.json = text;
   for (const uint32_t capacity : {0x40000001u, 0x80000002u, 0xFFFFFFFFu}) {
      status.capacity = capacity;
      EXPECT_EQ(quelerr_Status_growJson(text, &status), nullptr) << capacity;
   }
   status.json = nullptr;
   status.capacity = 0;
}

TEST_F(Status, GrowJsonDoublesAndKeepsTheOffset)
{
   quelerr_Status_setJson(&status, "{\"a\":1}");
   char* const moved = quelerr_Status_growJson(status.json + 6, &status);
   EXPECT_EQ(status.capacity, 1024u);
   EXPECT_EQ(moved, status.json + 6);
   EXPECT_EQ(bufferFault(status), "");
}

TEST_F(Status, GrowJsonRefusesATextThatDoesNotParse)
{
   quelerr_Status_setJson(&status, "no JSON");
   EXPECT_EQ(quelerr_Status_growJson(status.json, &status), nullptr);
}

TEST_F(Status, BeginWriterAsksForTheLeastBufferAndStandsAtItsBrace)
{
   quelerr_JsonWriter writer;
   quelerr_Status_beginWriter(&writer, &status);
   EXPECT_EQ(writer.position, status.json + 1);
   EXPECT_EQ(writer.grow, quelerr_Status_growJson);
   EXPECT_EQ(writer.context, &status);
}

TEST_F(Status, BeginWriterWithoutMemoryIgnoresAllAdditions)
{
   RefusingStatus refusing(0);
   quelerr_JsonWriter writer;
   quelerr_Status_beginWriter(&writer, &refusing);
   EXPECT_EQ(writer.position, nullptr);
   quelerr_JsonWriter_addString(&writer, "k", "v");
   EXPECT_EQ(refusing.json, nullptr);
}

TEST_F(Status, AppendPairAddsBehindTheSite)
{
   quelerr_Status_setWithSite(&status, -52005, kSite);
   quelerr_Status_appendPair(&status, "zerovaapi_debug", "why");
   std::string expected = kSiteJson;
   expected.insert(expected.size() - 1, R"(,"zerovaapi_debug":"why")");
   EXPECT_EQ(status.json, expected);
}

TEST_F(Status, ResizeThatGrantsWithoutGrowingEndsTheWriterAndNotTheProcess)
{
   quelerr_Status_setWithSite(&status, -52005, kSite);
   status.resize = [](quelerr_Status*, uint32_t) { return true; };
   const std::string value(2000, 'v');
   quelerr_Status_appendPair(&status, "k", value.c_str());
   EXPECT_STREQ(status.json, kSiteJson);
   status.resize = quelerr_defaultResize;
}

TEST_F(Status, GrowJsonOfARecordWithoutATextEndsTheWriter)
{
   char position = '}';
   for (const uint32_t capacity : {2u, 4u, 512u}) {
      status.capacity = capacity;
      status.resize = [](quelerr_Status*, uint32_t) { return true; };
      EXPECT_EQ(quelerr_Status_growJson(&position, &status), nullptr) << capacity;
   }
   status.capacity = 0;
}

// Grants every request with a buffer of so many bytes, whatever was asked for. The text is cut to
// what the buffer holds, and the buffer is the whole of its block.
struct ShortResize : quelerr_Status
{
   explicit ShortResize(uint32_t size)
      : granted(size)
   {
      quelerr_Status_init(this);
      resize = [](quelerr_Status* status, uint32_t newCapacity) {
         auto* const self = static_cast<ShortResize*>(status);
         const std::string text = self->json ? self->json : "{}";
         std::free(self->json);
         self->json = nullptr;
         self->capacity = 0;
         if (newCapacity == 0) return true;
         self->json = static_cast<char*>(std::malloc(self->granted));
         self->capacity = self->granted;
         std::memset(self->json, 0, self->granted);
         std::memcpy(self->json, text.data(), std::min<size_t>(text.size(), self->granted - 1));
         return true;
      };
   }
   ShortResize(const ShortResize&) = delete;
   ShortResize& operator=(const ShortResize&) = delete;
   ~ShortResize() { resize(this, 0); }

   uint32_t granted;
};

TEST_F(Status, ResizeThatGrantsLessThanTheLeastBufferGivesNoText)
{
   for (uint32_t size = 1; size < 4; ++size) {
      ShortResize little(size);
      EXPECT_TRUE(quelerr_Status_setWithSite(&little, -52005, kSite));
      quelerr_Status_appendPair(&little, "k", "v");
      quelerr_JsonWriter writer;
      quelerr_Status_beginWriter(&writer, &little);
      EXPECT_EQ(writer.position, nullptr) << size;
      EXPECT_EQ(little.code, -52005);
   }
}

TEST_F(Status, ResizeThatGrantsLessThanAWriterAskedForEndsTheWriter)
{
   const std::string value(700, 'v');
   for (const uint32_t size : {4u, 100u, 511u, 1021u}) {
      ShortResize little(512);
      quelerr_Status_setWithSite(&little, -52005, kSite);
      little.granted = size;
      quelerr_JsonWriter writer;
      quelerr_Status_beginWriter(&writer, &little);
      quelerr_JsonWriter_addString(&writer, "k", value);
      EXPECT_EQ(writer.position, nullptr) << size;
      quelerr_JsonWriter_addString(&writer, "l", value);
      EXPECT_EQ(little.code, -52005);
   }
}

TEST_F(Status, RefusalAtAnyCallLeavesADocumentThatParses)
{
   const std::string longText(3000, '\\');
   int grants = 0;
   for (bool everRefused = true; everRefused; ++grants) {
      RefusingStatus refusing(grants);
      quelerr_Status_setWithSite(&refusing, -9, {longText.c_str(), 1, "c", longText.c_str()});
      quelerr_Status_appendPair(&refusing, "key", longText.c_str());
      everRefused = refusing.granted < 0;
      EXPECT_EQ(refusing.code, -9);
      EXPECT_EQ(bufferFault(refusing), "") << "after " << grants << " grants";
   }
   EXPECT_GT(grants, 4);
}

TEST_F(Status, ReusedRecordDoesNotAllocateAgain)
{
   RefusingStatus record(1);
   quelerr_Status_setWithSite(&record, -1, kSite);
   record.code = 0;
   quelerr_Status_setWithSite(&record, -52005, kSite);
   EXPECT_STREQ(record.json, kSiteJson);
   EXPECT_EQ(record.calls, 1);
}

TEST_F(Status, HeapStatusOfThePublicHeaderKeepsTheSameContract)
{
   quelerr_Status heap;
   quelerr_heapStatus_init(&heap);
   const std::string value(700, 'x');
   quelerr_Status_setWithSite(&heap, -52005, kSite);
   EXPECT_EQ(heap.capacity, 512u);
   quelerr_Status_appendPair(&heap, "k", value.c_str());
   EXPECT_EQ(heap.capacity, 1024u);
   EXPECT_EQ(bufferFault(heap), "");
   EXPECT_FALSE(heap.resize(&heap, 0x80000000u));
   quelerr_heapStatus_release(&heap);
   EXPECT_EQ(heap.json, nullptr);
   EXPECT_EQ(heap.capacity, 0u);
}

} // namespace
