// What route attributes set, against the same calls in C on the wire.
#include "exports/peer_session.h"
#include "service/checked_status.h"
#include "support/failing_malloc.h"
#include "zerovaapi.hpp"

#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace {

using namespace zerova::test;
using zerovaapi::Error;
using zerovaapi::Lifetime;
using zerovaapi::RouteAttributes;
using zerovaapi::Session;
using zerovaapi::State;
using zerovaapi::Status;

TEST(CppRouteAttributes, AreSentAsTheOnesThatAreSetInC)
{
   RemotePeer peer(answeringPlainly());
   Session session = Session::remote(peer.host());
   RouteAttributes wish;
   wish.lifetime(Lifetime::immediate)
      .targetState(State::reserved)
      .forceMultiDeviceRoute(true)
      .ownerName("bench")
      .constraint("Line", "trigger_line1")
      .constraint("SingleDevice", false)
      .sourceConstraint("Connector", std::string("front"))
      .destinationConstraint("IsSource", false)
      .optionalModifier("Filter", "fast")
      .requiredModifier("Invert", true)
      .destinationRequiredModifier("Filter", zerovaapi::Text("slow"));
   session.calculate("/a/b", "/c/d", &wish).release();

   CheckedStatus status;
   const zerovaapi_RouteAttributes c = zerovaapi_RouteAttributes_new(status);
   zerovaapi_RouteAttributes_setLifetime(c, zerovaapi_kLifetimeImmediate, status);
   zerovaapi_RouteAttributes_setCalculationTargetState(c, zerovaapi_kStateReserved, status);
   zerovaapi_RouteAttributes_setForceMultiDeviceRoute(c, true, status);
   zerovaapi_RouteAttributes_setOwnerName(c, "bench", status);
   const zerovaapi_AttributeMap constraints = zerovaapi_RouteAttributes_getConstraints(c);
   zerovaapi_RouteConstraints_setStringConstraint(constraints, "Line", "trigger_line1", status);
   zerovaapi_RouteConstraints_setBoolConstraint(constraints, "SingleDevice", false, status);
   zerovaapi_RouteConstraints_setStringConstraint(zerovaapi_RouteAttributes_getSourceConstraints(c),
                                                  "Connector", "front", status);
   zerovaapi_RouteConstraints_setBoolConstraint(
      zerovaapi_RouteAttributes_getDestinationConstraints(c), "IsSource", false, status);
   zerovaapi_RouteModifiers_setStringModifier(zerovaapi_RouteAttributes_getOptionalModifiers(c),
                                              "Filter", "fast", status);
   zerovaapi_RouteModifiers_setBoolModifier(zerovaapi_RouteAttributes_getRequiredModifiers(c),
                                            "Invert", true, status);
   zerovaapi_RouteModifiers_setStringModifier(
      zerovaapi_RouteAttributes_getDestinationRequiredModifiers(c), "Filter", "slow", status);
   zerovaapi_calculateRoute(session.handle(), "/a/b", "/c/d", c, status);
   zerovaapi_RouteAttributes_destroy(c);
   EXPECT_EQ(status.code(), 0);

   const auto frames = peer.service().frames();
   ASSERT_EQ(frames.size(), 3u);
   EXPECT_EQ(frames[1], frames[2]);
}

TEST(CppRouteAttributes, ThatWereMovedFromAreRefusedAndNotTakenForNone)
{
   RemotePeer peer(answeringPlainly());
   Session session = Session::remote(peer.host());
   RouteAttributes wish;
   const RouteAttributes taken = std::move(wish);
   EXPECT_THROW(wish.ownerName("bench"), Error); // NOLINT(bugprone-use-after-move)
   EXPECT_THROW(wish.constraint("Line", "x"), Error);
   EXPECT_THROW(wish.lifetime(Lifetime::session), Error);
   Status status;
   EXPECT_FALSE(session.calculate("/a/b", "/c/d", &wish, status));
   EXPECT_EQ(status.code(), zerovaapi::kInvalidParameter);
   EXPECT_EQ(peer.service().frames().size(), 1u) << "the version alone";
   EXPECT_NO_THROW(session.calculate("/a/b", "/c/d", &taken).release());
}

TEST(CppRouteAttributes, TextThatIsNullIsRefused)
{
   const char* const none = nullptr;
   RouteAttributes wish;
   EXPECT_THROW(wish.ownerName(none), Error);
   EXPECT_THROW(wish.constraint("Line", none), Error);
   EXPECT_THROW(wish.requiredModifier(none, true), Error);
}

TEST(CppRouteAttributes, AreNotSetWhileTheStatusHoldsAFailure)
{
   RemotePeer peer(answeringPlainly());
   Session session = Session::remote(peer.host());
   Status status;
   status.fail(7, "", nullptr);
   RouteAttributes wish;
   wish.ownerName("bench", status).constraint("Line", "x", status);
   session.calculate("/a/b", "/c/d", &wish).release();
   session.calculate("/a/b", "/c/d").release();
   const auto frames = peer.service().frames();
   EXPECT_EQ(frames[1], frames[2]);
   EXPECT_EQ(status.code(), 7);
}

// The code that attempt throws; 0 for none.
template <typename Attempt>
int32_t codeOf(Attempt attempt)
{
   try {
      attempt();
   } catch (const Error& error) {
      return error.code();
   }
   return 0;
}

TEST(CppRouteAttributes, WithoutMemoryEachStepIsThrownAsSuch)
{
   int32_t code = 0;
   RouteAttributes wish;
   const std::string longText(100, 'x');
   const auto check = [&](size_t index) { EXPECT_EQ(code, zerovaapi::kOutOfMemory) << index; };
   const size_t forNew = forEachFailingAllocation(
      FailingMalloc::Then::failAlways, [&](size_t) { code = codeOf([] { RouteAttributes(); }); },
      check);
   const size_t forName = forEachFailingAllocation(
      FailingMalloc::Then::failAlways,
      [&](size_t) { code = codeOf([&] { wish.ownerName(longText); }); }, check);
   const size_t forEntry = forEachFailingAllocation(
      FailingMalloc::Then::failAlways,
      [&](size_t) { code = codeOf([&] { wish.constraint(longText, longText); }); }, check);
   EXPECT_TRUE(forNew > 0 && forName > 0 && forEntry > 0);
}

} // namespace
