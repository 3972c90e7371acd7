#include "platform/socket.h"

#include "unit/transport/descriptors.h"

#include <gtest/gtest.h>

namespace {

// Has a new socket made and tells whether a child process would not get it.
template <typename Create>
bool isKeptFromChildren(Create create)
{
   const platform::Socket socket = create();
   const bool isKept = descriptors::isKeptFromChildren(socket);
   EXPECT_TRUE(platform::closeSocket(socket));
   return isKept;
}

TEST(Socket, NoneIsInherited)
{
   ASSERT_TRUE(platform::startSockets());
   EXPECT_TRUE(isKeptFromChildren(platform::createTcpSocket));
   EXPECT_TRUE(isKeptFromChildren(platform::createWakeSocket));
   EXPECT_TRUE(platform::stopSockets());
}

TEST(Socket, NameOfThisMachineIsResolved)
{
   ASSERT_TRUE(platform::startSockets());
   uint32_t address = 0;
   EXPECT_TRUE(platform::resolveName("localhost", address));
   EXPECT_EQ(address, 0x7F000001u);
   EXPECT_TRUE(platform::stopSockets());
}

TEST(Socket, DottedTextIsAnAddressAndOtherTextIsNone)
{
   EXPECT_EQ(platform::addressOfDottedText("127.0.0.2"), 0x7F000002u);
   EXPECT_EQ(platform::addressOfDottedText("localhost"), 0xFFFFFFFFu);
}

TEST(Socket, NoSocketIsNoneToClose)
{
   ASSERT_TRUE(platform::startSockets());
   EXPECT_FALSE(platform::closeSocket(platform::kInvalidSocket));
   EXPECT_TRUE(platform::stopSockets());
}

} // namespace
