// Every allocation that a call makes fails in turn, and throws what it should not.
#include "exports/peer_session.h"
#include "exports/service_calls.h"
#include "support/heap_watch.h"
#include "support/matches_pattern.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <new>
#include <stdexcept>
#include <string>

namespace {

using namespace zerova::test;
using testing::AllOf;
using testing::Each;
using testing::Ge;
using testing::Le;
using testing::SizeIs;

constexpr const char* kOutOfMemory =
   R"(\{"file":"source\\\\zerovaapi\\\\api","line":[1-9][0-9]*,"component":"zerovaapi"\})";

// What a call tells when memory ran out behind it, while the test told its result.
const std::string kOwnAllocation = "the test's own allocation";

// A record whose buffer comes from malloc, which is not made to fail here.
class HeapStatus
{
public:
   HeapStatus() { quelerr_heapStatus_init(&status); }
   HeapStatus(const HeapStatus&) = delete;
   HeapStatus& operator=(const HeapStatus&) = delete;
   ~HeapStatus() { quelerr_heapStatus_release(&status); }
   std::string json() const { return status.json ? status.json : ""; }

   quelerr_Status status = {};
};

class EveryCallWithoutMemory : public testing::TestWithParam<ServiceCall>
{
};

INSTANTIATE_TEST_SUITE_P(All, EveryCallWithoutMemory, testing::ValuesIn(serviceCalls()),
                         [](const auto& call) { return call.param.method; });

TEST_P(EveryCallWithoutMemory, EndsInOutOfMemoryWhicheverAllocationFailsAndTheNextIsWhole)
{
   const ServiceCall& call = GetParam();
   bool failed = true;
   for (std::size_t n = 1; failed; ++n) {
      SCOPED_TRACE(n);
      ASSERT_LT(n, 200u);
      PeerSession session(answeringPlainly());
      HeapStatus status;
      std::string told;
      {
         HeapWatch watch;
         watch.failNth(n);
         try {
            told = call.call(session, &status.status);
         } catch (const std::bad_alloc&) {
            told = kOwnAllocation;
         }
         failed = watch.hasFailed();
      }
      if (told == kOwnAllocation) continue;
      EXPECT_EQ(status.status.code, failed ? -52000 : 0);
      if (!failed) continue;
      EXPECT_EQ(told, call.failure);
      EXPECT_THAT(status.json(), MatchesPattern(kOutOfMemory));
      HeapStatus next;
      EXPECT_EQ(call.call(session, &next.status), call.success);
      EXPECT_EQ(next.status.code, 0) << next.json();
      EXPECT_THAT(session.requests(), AllOf(SizeIs(AllOf(Ge(1u), Le(2u))), Each(call.request)));
   }
}

TEST(CallWithoutMemory, SoftwareFaultIsAnyOtherStandardException)
{
   PeerSession session(answeringPlainly());
   HeapStatus status;
   const std::string uri(100, 'u');
   {
      HeapWatch watch;
      watch.failNth(1, [] { throw std::logic_error("not what an allocator throws"); });
      zerovaapi_validateTerminalURI(session, uri.c_str(), &status.status);
   }
   EXPECT_EQ(status.status.code, -52003);
   EXPECT_THAT(status.json(),
               MatchesPattern(R"(\{"error_constant":"nTamrixS100::tStatus::kSoftwareFault",)"
                              R"("file":"source\\\\zerovaapi\\\\api","line":[1-9][0-9]*,)"
                              R"("component":"zerovaapi",)"
                              R"("std_exception_what":"not what an allocator throws"\})"));
}

TEST(CallWithoutMemory, ExceptionOfAnotherKindLeavesTheFunction)
{
   PeerSession session(answeringPlainly());
   HeapStatus status;
   const std::string uri(100, 'u');
   bool thrown = false;
   {
      HeapWatch watch;
      watch.failNth(1, [] { throw 42; });
      try {
         zerovaapi_validateTerminalURI(session, uri.c_str(), &status.status);
      } catch (int) {
         thrown = true;
      }
   }
   EXPECT_TRUE(thrown);
   EXPECT_EQ(status.status.code, 0);
}

TEST(AttributesWithoutMemory, NewObjectIsOutOfMemory)
{
   HeapStatus status;
   zerovaapi_RouteAttributes attributes = nullptr;
   {
      HeapWatch watch;
      watch.failNth(1);
      attributes = zerovaapi_RouteAttributes_new(&status.status);
   }
   EXPECT_EQ(attributes, nullptr);
   EXPECT_EQ(status.status.code, -52000);
   EXPECT_THAT(status.json(), MatchesPattern(kOutOfMemory));
}

TEST(AttributesWithoutMemory, OwnerNameLetsTheExceptionOut)
{
   HeapStatus status;
   const zerovaapi_RouteAttributes attributes = zerovaapi_RouteAttributes_new(&status.status);
   const std::string name(100, 'n');
   bool thrown = false;
   {
      HeapWatch watch;
      watch.failNth(1);
      try {
         zerovaapi_RouteAttributes_setOwnerName(attributes, name.c_str(), &status.status);
      } catch (const std::bad_alloc&) {
         thrown = true;
      }
   }
   EXPECT_TRUE(thrown);
   EXPECT_EQ(status.status.code, 0);
   zerovaapi_RouteAttributes_destroy(attributes);
}

TEST(AttributesWithoutMemory, EntrySettersEndInOutOfMemoryWhicheverAllocationFails)
{
   const std::string name(100, 'n');
   const std::string value(100, 'v');
   bool failed = true;
   std::size_t n = 1;
   for (; failed; ++n) {
      HeapStatus status;
      const zerovaapi_RouteAttributes attributes = zerovaapi_RouteAttributes_new(&status.status);
      const zerovaapi_AttributeMap map = zerovaapi_RouteAttributes_getConstraints(attributes);
      {
         HeapWatch watch;
         watch.failNth(n);
         zerovaapi_RouteModifiers_setStringModifier(map, name.c_str(), value.c_str(),
                                                    &status.status);
         failed = watch.hasFailed();
      }
      EXPECT_EQ(status.status.code, failed ? -52000 : 0);
      zerovaapi_RouteAttributes_destroy(attributes);
   }
   EXPECT_GT(n, 5u); // three names, the entry and the value
}

TEST(ReaderWithoutMemory, AttributeReaderIsOutOfMemory)
{
   PeerSession session(answeringPlainly());
   HeapStatus status;
   const zerovaapi_TerminalContainer terminals =
      zerovaapi_getTerminalNamesAndAttributesForDevice(session, "d", nullptr, &status.status);
   const std::string name(100, 'n');
   const char* text = "";
   {
      HeapWatch watch;
      watch.failNth(1);
      text =
         zerovaapi_TerminalIterator_getStringAttribute(terminals, 0, name.c_str(), &status.status);
   }
   EXPECT_EQ(text, nullptr);
   EXPECT_EQ(status.status.code, -52000);
   EXPECT_THAT(status.json(), MatchesPattern(kOutOfMemory));
   zerovaapi_TerminalContainer_destroy(terminals);
}

TEST(ReaderWithoutMemory, NoNameIsCopiedAtTheEnd)
{
   PeerSession session(answeringPlainly());
   HeapStatus status;
   const zerovaapi_TerminalContainer terminals =
      zerovaapi_getTerminalNamesAndAttributesForDevice(session, "d", nullptr, &status.status);
   const std::string name(100, 'n');
   std::size_t requests = 1;
   {
      const HeapWatch watch;
      zerovaapi_TerminalIterator_getStringAttribute(terminals, 1, name.c_str(), &status.status);
      zerovaapi_TerminalIterator_getBoolAttribute(terminals, 1, name.c_str(), &status.status);
      requests = watch.count();
   }
   EXPECT_EQ(requests, 0u);
   EXPECT_EQ(status.status.code, -52005);
   zerovaapi_TerminalContainer_destroy(terminals);
}

TEST(SessionWithoutMemory, IsOutOfMemoryAtOnceWhicheverAllocationFails)
{
   RemotePeer peer(answeringPlainly());
   bool failed = true;
   for (std::size_t n = 1; failed; ++n) {
      SCOPED_TRACE(n);
      ASSERT_LT(n, 200u);
      HeapStatus status;
      zerovaapi_Session session = nullptr;
      {
         HeapWatch watch;
         watch.failNth(n);
         session = zerovaapi_createRemoteSession(peer.host().c_str(), &status.status);
         failed = watch.hasFailed();
      }
      EXPECT_EQ(session == nullptr, failed);
      EXPECT_EQ(status.status.code, failed ? -52000 : 0) << status.json();
      EXPECT_THAT(status.json(), MatchesPattern(failed ? kOutOfMemory : ""));
      zerovaapi_destroySession(session);
   }
}

TEST(SessionMemory, OfAFreshSessionIsAtMost16KiBAndAllOfItIsReleased)
{
   RemotePeer peer(answeringPlainly());
   HeapStatus status;
   // The first session of a process also makes what the process keeps.
   zerovaapi_destroySession(zerovaapi_createRemoteSession(peer.host().c_str(), &status.status));
   std::ptrdiff_t held = 0;
   std::ptrdiff_t left = 1;
   {
      const HeapWatch watch;
      const zerovaapi_Session session =
         zerovaapi_createRemoteSession(peer.host().c_str(), &status.status);
      held = watch.inUse();
      zerovaapi_destroySession(session);
      left = watch.inUse();
   }
   EXPECT_EQ(status.status.code, 0);
   EXPECT_GT(held, 0);
   EXPECT_LE(held, 16 * 1024);
   EXPECT_EQ(left, 0);
}

} // namespace
