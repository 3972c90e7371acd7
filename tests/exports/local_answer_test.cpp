// The functions that need no service.
#include "exports/peer_session.h"
#include "service/checked_status.h"
#include "support/matches_pattern.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>

namespace {

using namespace zerova::test;

constexpr const char* kRetired =
   R"(\{"error_constant":"nTamrixS100::tStatus::kFeatureUnsupported",)"
   R"("file":"source\\\\zerovaapi\\\\api","line":[1-9][0-9]*,"component":"zerovaapi",)"
   R"("zerovaapi_debug":"destroyAllImmediateRoutes is deprecated -- use )"
   R"(destroyImmediateRoutesOnDevice or reset the device instead"\})";

TEST(ShowRoute, GivesAnEmptyListForEveryTicketWithoutASession)
{
   for (const int32_t ticket : {0, 1, -1, INT32_MAX}) {
      CheckedStatus status;
      char* const text = zerovaapi_showRoute(nullptr, ticket, status);
      EXPECT_STREQ(text, "[]");
      EXPECT_EQ(status.code(), 0);
      EXPECT_FALSE(status.hasText());
      zerovaapi_destroyString(text);
   }
}

TEST(ShowRoute, NeitherAsksTheServiceNorNeedsItsConnection)
{
   PeerSession session(Script().acceptVersion().close());
   CheckedStatus failed;
   zerovaapi_reserveRoute(session, 1, failed);
   EXPECT_EQ(failed.code(), -52024);
   CheckedStatus status;
   char* const text = zerovaapi_showRoute(session, 1, status);
   EXPECT_STREQ(text, "[]");
   EXPECT_EQ(status.code(), 0);
   EXPECT_TRUE(session.requests().empty());
   zerovaapi_destroyString(text);
}

TEST(ShowRoute, KeepsAWarning)
{
   CheckedStatus status(5, R"({"warning":1})");
   char* const text = zerovaapi_showRoute(nullptr, 1, status);
   EXPECT_STREQ(text, "[]");
   EXPECT_EQ(status.json(), R"({"warning":1})");
   zerovaapi_destroyString(text);
}

TEST(ShowRoute, WithAnErrorInTheStatusGivesNull)
{
   CheckedStatus failed(-5, R"({"error":"first"})");
   EXPECT_EQ(zerovaapi_showRoute(nullptr, 1, failed), nullptr);
   EXPECT_EQ(failed.code(), -5);
   EXPECT_EQ(failed.json(), R"({"error":"first"})");
}

TEST(DestroyAllImmediateRoutes, AlwaysFailsAndNamesItsReplacements)
{
   CheckedStatus status;
   zerovaapi_destroyAllImmediateRoutes(nullptr, status);
   EXPECT_EQ(status.code(), -52002);
   EXPECT_THAT(status.json(), MatchesPattern(kRetired));
}

TEST(DestroyAllImmediateRoutes, AsksNoService)
{
   PeerSession session(answeringPlainly());
   CheckedStatus status;
   zerovaapi_destroyAllImmediateRoutes(session, status);
   EXPECT_EQ(status.code(), -52002);
   status.clear();
   zerovaapi_reserveRoute(session, 1, status);
   EXPECT_EQ(session.requests().size(), 1u);
}

TEST(DestroyAllImmediateRoutes, ReplacesAWarning)
{
   CheckedStatus status(5, R"({"warning":1})");
   zerovaapi_destroyAllImmediateRoutes(nullptr, status);
   EXPECT_EQ(status.code(), -52002);
   EXPECT_THAT(status.json(), MatchesPattern(kRetired));
}

TEST(DestroyAllImmediateRoutes, LeavesAnErrorAsItIs)
{
   CheckedStatus failed(-5, R"({"error":"first"})");
   zerovaapi_destroyAllImmediateRoutes(nullptr, failed);
   EXPECT_EQ(failed.code(), -5);
   EXPECT_EQ(failed.json(), R"({"error":"first"})");
}

TEST(DestroyAllImmediateRoutes, RefusedBufferLosesTextButNeverTheCode)
{
   CheckedStatus undisturbed;
   zerovaapi_destroyAllImmediateRoutes(nullptr, undisturbed);
   for (int n = 1; n <= undisturbed.growCalls(); ++n) {
      SCOPED_TRACE(n);
      CheckedStatus fromThenOn;
      fromThenOn.refuseFrom(n);
      zerovaapi_destroyAllImmediateRoutes(nullptr, fromThenOn);
      EXPECT_EQ(fromThenOn.code(), -52002);
      CheckedStatus once;
      once.refuseOnly(n);
      zerovaapi_destroyAllImmediateRoutes(nullptr, once);
      EXPECT_EQ(once.code(), -52002);
   }
}

TEST(HeapStatus, OfThePublicHeaderServesAsACallersRecord)
{
   quelerr_Status status;
   quelerr_heapStatus_init(&status);
   zerovaapi_destroyAllImmediateRoutes(nullptr, &status);
   EXPECT_EQ(status.code, -52002);
   EXPECT_EQ(status.capacity, 512u);
   EXPECT_THAT(status.json, MatchesPattern(kRetired));
   quelerr_heapStatus_release(&status);
   EXPECT_EQ(status.json, nullptr);
   EXPECT_EQ(status.capacity, 0u);
}

} // namespace
