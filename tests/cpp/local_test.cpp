// Sessions on this machine.
#include "service/routing_service.h"
#include "zerovaapi.hpp"

#include <gtest/gtest.h>

namespace {

using zerova::test::RoutingService;
using zerovaapi::Lifetime;
using zerovaapi::RouteAttributes;
using zerovaapi::Session;

TEST(CppLocalSession, OpensAtEitherEndpoint)
{
   const RoutingService service({.local = true});
   EXPECT_TRUE(Session::local());
   EXPECT_TRUE(Session::immediate());
}

TEST(CppImmediateSession, RouteOfWhichNothingIsSaidStaysWhenItsObjectEnds)
{
   const RoutingService service({.local = true});
   Session session = Session::immediate();
   session.calculate("/matrix1/ch0", "/matrix1/ch1").reserve();
   EXPECT_EQ(service.routeCount(), 1u);
   session.destroyImmediateRoutesOnDevice("matrix1");
   EXPECT_EQ(service.routeCount(), 0u);
}

TEST(CppImmediateSession, RouteThatIsSaidToBeTheSessionsEndsWithItsObject)
{
   const RoutingService service({.local = true});
   Session session = Session::immediate();
   RouteAttributes wish;
   wish.lifetime(Lifetime::session);
   {
      const zerovaapi::Route route = session.calculate("/matrix1/ch0", "/matrix1/ch1", &wish);
      EXPECT_EQ(service.routeCount(), 1u);
   }
   EXPECT_EQ(service.routeCount(), 0u);
}

TEST(CppLocalSession, WithoutAServiceIsThrown)
{
   try {
      Session::local();
      FAIL() << "nothing was thrown";
   } catch (const zerovaapi::Error& error) {
      EXPECT_EQ(error.code(), -89168);
   }
}

} // namespace
