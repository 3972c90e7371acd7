#include "platform/socket.h"

#include "unit/transport/descriptors.h"

#include <gtest/gtest.h>

namespace {

// Has a new socket made and tells whether a child process would not get it.
template <typename Create>
bool isKeptFromChildren(Create create)
{
   const platform::Socket socket = create();
   const bool isKept = descriptors::closesOnExec(static_cast<int>(socket));
   EXPECT_TRUE(platform::closeSocket(socket));
   return isKept;
}

TEST(Socket, NoneIsInherited)
{
   EXPECT_TRUE(isKeptFromChildren(platform::createTcpSocket));
   EXPECT_TRUE(isKeptFromChildren(platform::createWakeSocket));
}

} // namespace
