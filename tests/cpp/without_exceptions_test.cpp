// The same header where there are no exceptions, linked with code that has them.
#include "cpp/without_exceptions.h"
#include "exports/peer_session.h"
#include "service/loopback_address.h"
#include "service/routing_service.h"
#include "service/wire_bytes.h"
#include "tools/simulator/error_codes.h"
#include "zerovaapi.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace {

using namespace zerova::test;
using testing::HasSubstr;

class WithoutExceptions : public testing::Test
{
protected:
   LoopbackAddress address;
   zerova::test::RoutingService service{{.address = address.text(), .locatorPort = 3580}};
};

TEST_F(WithoutExceptions, RouteIsMadeAndEnded)
{
   const Told told = routeWithoutExceptions(address.text(), "/matrix1/ch0", "/matrix1/ch1");
   EXPECT_FALSE(told.failed) << told.code << told.json;
   EXPECT_THAT(told.devices, HasSubstr("timer1;"));
   EXPECT_FALSE(told.source.empty());
   EXPECT_EQ(service.routeCount(), 0u);
}

TEST_F(WithoutExceptions, RefusalIsToldAndEndsTheChain)
{
   const Told told = routeWithoutExceptions(address.text(), "/matrix1/ch0", "/nowhere/x");
   EXPECT_TRUE(told.failed);
   EXPECT_EQ(told.code, zerova::simulator::kUnknownDevice.number);
   EXPECT_THAT(told.json, HasSubstr(zerova::simulator::kUnknownDevice.constant));
}

TEST_F(WithoutExceptions, PartsWithExceptionsThrowAllTheSame)
{
   EXPECT_EQ(codeOfAClosedSession(), zerovaapi::kInvalidParameter);
   EXPECT_THROW(zerovaapi::Session().isDebug(), zerovaapi::Error);
}

TEST(WithoutExceptionsRefused, SessionWithTheCodeZeroIsAFailure)
{
   RemotePeer peer(
      Script().answerAll([](const std::string&) { return statusReply("version", 0, "no"); }));
   const Told told = routeWithoutExceptions(peer.host(), "/a/b", "/c/d");
   EXPECT_TRUE(told.failed);
   EXPECT_EQ(told.code, 0);
   EXPECT_EQ(told.devices, "");
}

} // namespace
