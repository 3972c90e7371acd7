#include "quelerr/status.h"

#include <gtest/gtest.h>

namespace {

constexpr quelerr_Location kSite{"a\\b", 26, "zerovaapi", "tamrixerr_invalidParameter"};

TEST(Status, FirstErrorAllocates512BytesAndWritesTheSite)
{
   quelerr_Status status;
   quelerr_Status_init(&status);
   EXPECT_TRUE(quelerr_Status_setWithSite(&status, -52005, kSite));
   EXPECT_EQ(status.code, -52005);
   EXPECT_EQ(status.capacity, 512u);
   EXPECT_STREQ(status.json, R"({"error_constant":"tamrixerr_invalidParameter","file":"a\\b","line":26,)"
                             R"("component":"zerovaapi"})");
   quelerr_Status_release(&status);
}

} // namespace
