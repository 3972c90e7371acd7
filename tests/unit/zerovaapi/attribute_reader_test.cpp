// In which order the readers of attributes tell of a name that a terminal does not have.
#include "service/checked_status.h"
#include "source/zerovaapi/handles.h"
#include "support/heap_watch.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

using namespace zerova;
using namespace zerova::test;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

// Too long to live inside a string object, so the copy of it that is looked up is one request.
constexpr const char* kName = "an attribute that no terminal has by this name";
constexpr std::size_t kCopyOfTheName = 1;

class AttributeReader
   : public testing::TestWithParam<void (*)(zerovaapi_TerminalContainer, quelerr_Status*)>
{
protected:
   void read(quelerr_Status* status)
   {
      GetParam()(wrap<zerovaapi_TerminalContainer>(&terminals), status);
   }

   TerminalReply terminals{makeContent({{}})};
};

INSTANTIATE_TEST_SUITE_P(
   Both, AttributeReader,
   testing::Values(
      [](zerovaapi_TerminalContainer terminals, quelerr_Status* status) {
         EXPECT_EQ(zerovaapi_TerminalIterator_getStringAttribute(terminals, 0, kName, status),
                   nullptr);
      },
      [](zerovaapi_TerminalContainer terminals, quelerr_Status* status) {
         EXPECT_FALSE(zerovaapi_TerminalIterator_getBoolAttribute(terminals, 0, kName, status));
      }),
   [](const auto& each) { return each.index == 0 ? "String" : "Bool"; });

// What had been done when the status asked for its first buffer.
struct FirstGrowth : quelerr_Status
{
   explicit FirstGrowth(const HeapWatch& heapWatch)
      : watch(heapWatch)
   {
      code = 0;
      capacity = 0;
      quelerr_Status::resize = resize;
      json = nullptr;
   }

   static bool resize(quelerr_Status* status, uint32_t)
   {
      auto& growth = *static_cast<FirstGrowth*>(status);
      if (growth.requests == SIZE_MAX) {
         growth.requests = growth.watch.count();
         growth.heldCode = status->code;
      }
      return false;
   }

   const HeapWatch& watch;
   std::size_t requests = SIZE_MAX;
   int32_t heldCode = 0;
};

TEST_P(AttributeReader, SetsTheCodeBeforeItBuildsItsText)
{
   std::size_t requests = 0;
   std::size_t requestsAtTheCode = 0;
   int32_t code = 0;
   {
      const HeapWatch watch;
      FirstGrowth status(watch);
      read(&status);
      requests = watch.count();
      requestsAtTheCode = status.requests;
      code = status.heldCode;
   }
   EXPECT_EQ(code, -52005);
   EXPECT_EQ(requestsAtTheCode, kCopyOfTheName);
   EXPECT_GT(requests, kCopyOfTheName);
}

TEST_P(AttributeReader, BuildsNoTextWhenAnEarlierErrorStays)
{
   CheckedStatus status(-5, R"({"a":1})");
   std::size_t requests = 0;
   {
      const HeapWatch watch;
      read(status);
      requests = watch.count();
   }
   EXPECT_EQ(requests, kCopyOfTheName);
   EXPECT_EQ(status.code(), -5);
   EXPECT_EQ(status.json(), R"({"a":1})");
}

TEST_P(AttributeReader, ReplacesAWarningByItsOwnText)
{
   CheckedStatus status(5, R"({"a":1})");
   read(status);
   EXPECT_EQ(status.code(), -52005);
   EXPECT_THAT(status.json(), EndsWith(std::string("getStringAttribute: ") + kName + "\"}"));
}

TEST_P(AttributeReader, WithoutMemoryForItsTextLeavesTheCodeThatTook)
{
   quelerr_Status status;
   quelerr_heapStatus_init(&status); // its buffer is not the watched heap's
   bool failed = false;
   {
      HeapWatch watch;
      watch.failNth(kCopyOfTheName + 1);
      read(&status);
      failed = watch.hasFailed();
   }
   EXPECT_TRUE(failed);
   EXPECT_EQ(status.code, -52005);
   EXPECT_THAT(status.json, HasSubstr("kInvalidParameter"));
   EXPECT_THAT(status.json, Not(HasSubstr("zerovaapi_debug")));
   quelerr_heapStatus_release(&status);
}

} // namespace
