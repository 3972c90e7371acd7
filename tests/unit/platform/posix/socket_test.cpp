// Names, as the resolver of this system answers.
#include "platform/socket.h"

#include "support/failing_malloc.h"
#include "unit/platform/posix/name_server.h"

#include <gtest/gtest.h>
#include <vector>

namespace {

constexpr uint32_t kLoopback = 0x7F000001;
constexpr uint32_t kFarAway = 0xC0000201; // 192.0.2.1, which is nobody's

// Sorting would put the near address first.
TEST(ResolveName, FirstAddressIsTheFirstOfTheResolversAnswer)
{
   uint32_t address = 0;
   {
      const NameServer server({kFarAway, kLoopback});
      EXPECT_TRUE(platform::resolveName("two-addresses.test", address));
   }
   EXPECT_EQ(address, kFarAway);
}

TEST(ResolveName, NameOfManyAddressesGivesItsFirst)
{
   std::vector<uint32_t> addresses(1000, kLoopback);
   addresses.front() = kFarAway;
   const NameServer server(addresses);
   uint32_t address = 0;
   EXPECT_TRUE(platform::resolveName("many-addresses.test", address));
   EXPECT_EQ(address, kFarAway);
}

TEST(ResolveName, NameWithoutAnAddressIsNotResolved)
{
   const NameServer server({});
   uint32_t address = 5;
   EXPECT_FALSE(platform::resolveName("no-address.test", address));
   EXPECT_EQ(address, 5u);
}

TEST(ResolveName, WithoutMemoryItIsNotResolvedAndNothingIsLeftBehind)
{
   uint32_t address = 0;
   ASSERT_TRUE(platform::resolveName("localhost", address)); // what is made once in the process
   const Held before = held();
   bool isFound = false;
   forEachFailingAllocation(
      FailingMalloc::Then::failAlways,
      [&](size_t) { isFound = platform::resolveName("localhost", address); },
      [&](size_t index) { EXPECT_FALSE(isFound && index == 0) << "without room for the answer"; });
   EXPECT_TRUE(isFound);
   EXPECT_EQ(held(), before);
}

} // namespace
