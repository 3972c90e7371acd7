// The library on a service of this machine: its two endpoints and the lifetimes of routes.
#include "exports/service_session.h"

#include <functional>
#include <string>

namespace {

using namespace zerova::test;
using zerova::test::RoutingService;

class LocalService : public testing::Test
{
protected:
   int32_t calculateImmediate(const char* source, const char* destination)
   {
      return zerovaapi_calculateRoute(immediate_, source, destination, nullptr, status_);
   }

   RoutingService service_{{.local = true}};
   CheckedStatus status_;
   ServiceSession session_{zerovaapi_createSession(status_)};
   ServiceSession immediate_{zerovaapi_createImmediateSession(status_)};
};

TEST_F(LocalService, RoutesOfAnImmediateSessionOutliveIt)
{
   calculateImmediate("/matrix1/ch0", "/matrix1/ch1");
   ASSERT_EQ(status_.code(), 0) << status_.json();
   immediate_.close();
   ASSERT_TRUE(service_.waitForConnectionCount(1));
   EXPECT_EQ(service_.routeCount(), 1u);
}

TEST_F(LocalService, RoutesOfAPlainSessionAreImmediateWhenTheirAttributesSaySo)
{
   const zerovaapi_RouteAttributes attributes = zerovaapi_RouteAttributes_new(status_);
   zerovaapi_RouteAttributes_setLifetime(attributes, zerovaapi_kLifetimeImmediate, status_);
   zerovaapi_calculateRoute(session_, "/matrix1/ch0", "/matrix1/ch1", attributes, status_);
   zerovaapi_RouteAttributes_destroy(attributes);
   zerovaapi_calculateRoute(session_, "/matrix1/ch0", "/matrix1/ch2", nullptr, status_);
   ASSERT_EQ(status_.code(), 0) << status_.json();
   EXPECT_EQ(service_.routeCount(), 2u);
   session_.close();
   ASSERT_TRUE(service_.waitForConnectionCount(1));
   EXPECT_EQ(service_.routeCount(), 1u);
}

TEST_F(LocalService, ReleasesImmediateRoutesInEachOfTheFourWays)
{
   const std::function<void()> ways[] = {
      [&] { zerovaapi_destroyImmediateRoute(session_, "/matrix1/ch0", "/matrix1/ch1", status_); },
      [&] { zerovaapi_destroyImmediateRoutesOnDevice(session_, "matrix1", status_); },
      [&] { zerovaapi_destroyImmediateRoutesFromSource(session_, "/matrix1/ch0", status_); },
      [&] { zerovaapi_destroyImmediateRoutesToDest(session_, "/matrix1/ch1", status_); },
   };
   for (const auto& release : ways) {
      calculateImmediate("/matrix1/ch0", "/matrix1/ch1");
      calculateImmediate("/timer1/osc", "/timer1/sync");
      EXPECT_EQ(service_.routeCount(), 2u);
      release();
      EXPECT_EQ(service_.routeCount(), 1u);
      zerovaapi_destroyImmediateRoute(session_, "/timer1/osc", "/timer1/sync", status_);
   }
   EXPECT_EQ(status_.code(), 0) << status_.json();
}

TEST_F(LocalService, RefusesToDestroyAnImmediateRouteThatIsNotThere)
{
   zerovaapi_destroyImmediateRoute(session_, "/matrix1/ch0", "/matrix1/ch1", status_);
   EXPECT_EQ(status_.code(), zerova::simulator::kNoImmediateRoute.number);
}

} // namespace
