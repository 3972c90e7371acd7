#include "unit/transport/descriptors.h"

#include "platform/local_pipe.h"
#include "platform/socket.h"

#include <gtest/gtest.h>

#include <windows.h>
#include <winsock2.h>

namespace {

using descriptors::Descriptor;

TEST(Descriptors, StatesAreThoseOfTheOpenHandle)
{
   ASSERT_TRUE(platform::startSockets());
   const auto plain = static_cast<Descriptor>(socket(AF_INET, SOCK_STREAM, 0));
   const Descriptor kept = platform::createTcpSocket();
   EXPECT_FALSE(descriptors::isKeptFromChildren(plain));
   EXPECT_FALSE(descriptors::isNonBlocking(kept));
   EXPECT_TRUE(descriptors::isKeptFromChildren(kept));
   ASSERT_TRUE(platform::setNonBlocking(kept));
   EXPECT_TRUE(descriptors::isNonBlocking(kept));
   EXPECT_FALSE(descriptors::isNonBlocking(plain));
   platform::closeSocket(plain);
   platform::closeSocket(kept);
   EXPECT_FALSE(descriptors::isOpen(kept));
   EXPECT_FALSE(descriptors::isKeptFromChildren(kept));
   EXPECT_FALSE(descriptors::isNonBlocking(kept));
   platform::stopSockets();
}

TEST(Descriptors, CountGrowsByWhatIsOpenedAndNotClosed)
{
   ASSERT_TRUE(platform::startSockets());
   const size_t before = descriptors::countOpen();
   const platform::Socket socket = platform::createTcpSocket();
   platform::Handle event = platform::kInvalidHandle;
   ASSERT_EQ(platform::createEvent(event), 0);
   EXPECT_EQ(descriptors::countOpen(), before + 2);
   platform::closeSocket(socket);
   EXPECT_FALSE(platform::closeSocket(socket));
   EXPECT_EQ(descriptors::countOpen(), before + 1);
   platform::closeEvent(event);
   EXPECT_EQ(descriptors::countOpen(), before);
   platform::stopSockets();
}

} // namespace
