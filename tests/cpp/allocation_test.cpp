// A call that succeeds allocates what the C function allocates, and a failure arrives without memory.
#include "exports/peer_session.h"
#include "service/wire_bytes.h"
#include "support/failing_malloc.h"
#include "zerovaapi.hpp"

#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace zerova::test;
using zerovaapi::Error;
using zerovaapi::Session;
using zerovaapi::Status;

// More than fits into a string object, so that the library allocates for it.
constexpr const char* kLongUri = "/a/terminal/with/a/name/of/some/length";
constexpr size_t kNever = std::numeric_limits<size_t>::max();

// What call takes of the heap once it has run before.
template <typename Call>
size_t allocationsOf(Call call)
{
   call();
   const FailingMalloc counted(kNever);
   call();
   return counted.count();
}

class CppAllocations : public testing::Test
{
protected:
   ~CppAllocations() override { quelerr_heapStatus_release(&c); }

   RemotePeer peer{answeringPlainly()};
   Session session = Session::remote(peer.host());
   quelerr_Status c{0, 0, quelerr_heapStatus_resize, nullptr};
};

TEST_F(CppAllocations, OfARoutesWholeLifeAreThoseOfTheCallsInC)
{
   const auto inC = [&] {
      const int32_t ticket =
         zerovaapi_calculateRoute(session.handle(), kLongUri, "/c/d", nullptr, &c);
      zerovaapi_reserveRoute(session.handle(), ticket, &c);
      zerovaapi_programRoute(session.handle(), ticket, &c);
      zerovaapi_unprogramRoute(session.handle(), ticket, &c);
      zerovaapi_unreserveRoute(session.handle(), ticket, &c);
      zerovaapi_destroyRoute(session.handle(), ticket, &c);
   };
   const size_t expected = allocationsOf(inC);
   EXPECT_GT(expected, 0u);
   EXPECT_EQ(allocationsOf([&] { session.calculate(kLongUri, "/c/d").reserve().program(); }),
             expected);
}

TEST_F(CppAllocations, OfAttributesAreThoseOfTheCallsInC)
{
   const auto inC = [&] {
      const zerovaapi_RouteAttributes wish = zerovaapi_RouteAttributes_new(&c);
      zerovaapi_RouteConstraints_setStringConstraint(zerovaapi_RouteAttributes_getConstraints(wish),
                                                     "Line", "trigger_line1", &c);
      zerovaapi_RouteAttributes_destroy(wish);
   };
   EXPECT_EQ(allocationsOf([] {
                zerovaapi::RouteAttributes wish;
                wish.constraint("Line", "trigger_line1");
             }),
             allocationsOf(inC));
}

TEST_F(CppAllocations, OfListsAndTheirWalkAreThoseOfTheCallsInC)
{
   const auto inC = [&] {
      const char* const names[] = {"Name", "Kind", nullptr};
      zerovaapi_destroyStringArray(zerovaapi_getRoutableDevices(session.handle(), &c));
      const zerovaapi_TerminalContainer terminals =
         zerovaapi_getTerminalNamesAndAttributesForDevice(session.handle(), "dev", names, &c);
      for (zerovaapi_Iterator i = zerovaapi_TerminalContainer_begin(terminals);
           !zerovaapi_TerminalIterator_isEnd(terminals, i); zerovaapi_TerminalIterator_next(&i))
         zerovaapi_TerminalIterator_getStringAttribute(terminals, i, "Name", &c);
      zerovaapi_TerminalContainer_destroy(terminals);
      zerovaapi_DeviceContainer_destroy(zerovaapi_getRouteInfo(session.handle(), 1, &c));
   };
   zerovaapi::Route route = session.route(1);
   const size_t expected = allocationsOf(inC);
   EXPECT_EQ(allocationsOf([&] {
                session.devices();
                for (auto terminal : session.terminals("dev", {"Name", "Kind"}))
                   terminal.text("Name");
                route.devices();
             }),
             expected);
   EXPECT_EQ(c.code, 0);
}

TEST_F(CppAllocations, OfNamesInAContainerAreOneMoreAndMayFail)
{
   const std::vector<std::string> names = {"Name", "Kind"};
   const size_t expected = allocationsOf([&] { session.terminals("dev", {"Name", "Kind"}); });
   EXPECT_EQ(allocationsOf([&] { session.terminals("dev", names); }), expected + 1);
   Status status;
   {
      const FailingMalloc failing(0);
      session.terminals("dev", names, status);
   }
   EXPECT_EQ(status.code(), zerovaapi::kOutOfMemory);
}

TEST_F(CppAllocations, OfASessionAreThoseOfTheCallInC)
{
   const size_t expected = allocationsOf(
      [&] { zerovaapi_destroySession(zerovaapi_createRemoteSession(peer.host().c_str(), &c)); });
   EXPECT_EQ(allocationsOf([&] { Session::remote(peer.host()); }), expected);
}

TEST_F(CppAllocations, OfAnAbsentAttributeAreNoMoreThanThoseOfTheCallInC)
{
   const zerovaapi::Terminals terminals = session.terminals("dev");
   const auto first = *terminals.begin();
   ASSERT_TRUE(first.text("Name"));
   EXPECT_EQ(allocationsOf([&] { first.text("Name"); }), 0u);
   const auto inC = [&] {
      zerovaapi_TerminalIterator_getStringAttribute(terminals.handle(), 0, "Gone", &c);
      c.code = 0;
   };
   const size_t expected = allocationsOf(inC);
   EXPECT_LE(allocationsOf([&] { first.text("Gone"); }), expected);
   EXPECT_LE(allocationsOf([&] { first.flag("Gone"); }), expected);
}

// A name that does not fit into a string object is copied by the library.
TEST_F(CppAllocations, ReaderWithoutMemoryFailsAndDoesNotCallTheAttributeAbsent)
{
   const zerovaapi::Terminals terminals = session.terminals("dev");
   const auto first = *terminals.begin();
   const std::string longName(100, 'x');
   Status status;
   {
      const FailingMalloc failing(0, FailingMalloc::Then::failAlways);
      first.text(longName, status);
   }
   EXPECT_EQ(status.code(), zerovaapi::kOutOfMemory);
   EXPECT_EQ(first.flag(longName, status), std::nullopt);
}

// Its service has ended, as the threads of one would close handles meanwhile.
TEST(CppClosedSession, FailureArrivesWithItsCodeWhereThereIsNoMemoryForItsText)
{
   Session session = [] {
      RemotePeer peer{answeringPlainly()};
      return Session::remote(peer.host());
   }();
   session.close();
   int32_t code = 0;
   bool hasText = false;
   forEachFailingAllocation(
      FailingMalloc::Then::succeed,
      [&](size_t) {
         try {
            session.isDebug();
         } catch (const Error& error) {
            code = error.code();
            hasText = *error.json() != '\0';
         }
      },
      [&](size_t index) {
         EXPECT_EQ(code, zerovaapi::kInvalidParameter) << index;
         code = 0;
      });
   EXPECT_EQ(code, zerovaapi::kInvalidParameter);
   EXPECT_TRUE(hasText);
}

TEST_F(CppAllocations, NothingIsLeftBehindByFailures)
{
   RemotePeer refusing(Script().answerAll([](const std::string& frame) {
      const std::string method = methodOf(frame);
      return method == "version" ? plainReply(method) : statusReply(method, -77, "no");
   }));
   const auto fail = [&] {
      Session refused = Session::remote(refusing.host());
      Status status;
      refused.devices(status);
      try {
         refused.systemChangeNumber();
      } catch (const Error& error) {
         const Error copy = error; // NOLINT(performance-unnecessary-copy-initialization)
         EXPECT_EQ(copy.code(), -77);
      }
      Session moved = std::move(refused);
   };
   fail();
   const ptrdiff_t before = liveBlocks();
   fail();
   EXPECT_EQ(liveBlocks(), before);
}

} // namespace
