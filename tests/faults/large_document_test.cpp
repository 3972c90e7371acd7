// A document of 60 MB under limits of the process's memory from too little to enough.
#include "faults/fixed_status.h"
#include "lorvex_translator.h"
#include "support/memory_limit.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

using namespace zerova::test;
using testing::HasSubstr;

constexpr size_t kMegabyte = 1 << 20;

// A host that has set memory for the answer aside.
class Host
{
public:
   const char* describe(lorvex_Translator* translator, const std::string& json,
                        quelerr_Status* status)
   {
      return translator->getDynamicDesc(translator, json.c_str(), 0, "json1", allocate, this,
                                        status);
   }

private:
   static char* allocate(void*, size_t length, void* host, quelerr_Status*)
   {
      std::string& memory = static_cast<Host*>(host)->memory_;
      return length <= memory.size() ? memory.data() : nullptr;
   }

   std::string memory_ = std::string(64 * kMegabyte, '\0');
};

TEST(LargeDocument, IsDescribedOrRefusedForLackOfMemoryAndTheTranslatorStaysReady)
{
   const std::string small = R"({"zerovaapi_debug":"a sentence"})";
   const std::string large = R"({"zerovaapi_debug":")" + std::string(60 * kMegabyte, 'x') + R"("})";
   FixedStatus made;
   lorvex_Translator* const translator =
      lorvex_exported_create("dorvex_zerova", R"({"lorvexlua_xlator":"dorvex"})", made);
   ASSERT_NE(translator, nullptr) << made.text();
   Host host;
   FixedStatus first;
   const char* const text = host.describe(translator, small, first);
   ASSERT_NE(text, nullptr) << first.text();
   const std::string expected = text;

   testing::internal::CaptureStderr();
   size_t refused = 0;
   for (size_t room = 40; room <= 420; room += 38) {
      SCOPED_TRACE(room);
      FixedStatus status;
      const char* described = nullptr;
      {
         const MemoryLimit limit(room * kMegabyte);
         described = host.describe(translator, large, status);
      }
      if (described) {
         EXPECT_EQ(status.code(), 0) << status.text();
         EXPECT_GT(std::strlen(described), 60 * kMegabyte);
      } else {
         ++refused;
         EXPECT_EQ(status.code(), -52003) << status.text();
         EXPECT_THAT(status.text(), HasSubstr(R"("code":4,"string":"not enough memory")"));
      }
      FixedStatus again;
      EXPECT_STREQ(host.describe(translator, small, again), expected.c_str()) << again.text();
   }
   EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
   EXPECT_GT(refused, 2u);
   FixedStatus unlimited;
   EXPECT_NE(host.describe(translator, large, unlimited), nullptr) << unlimited.text();
   translator->destroy(translator);
}

} // namespace
