#include "unit/transport/descriptors.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

TEST(Descriptors, FlagsAreThoseOfTheOpenDescriptor)
{
   const int plain = socket(AF_UNIX, SOCK_STREAM, 0);
   const int flagged = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
   EXPECT_FALSE(descriptors::isKeptFromChildren(plain));
   EXPECT_FALSE(descriptors::isNonBlocking(plain));
   EXPECT_TRUE(descriptors::isKeptFromChildren(flagged));
   EXPECT_TRUE(descriptors::isNonBlocking(flagged));
   close(plain);
   close(flagged);
   EXPECT_FALSE(descriptors::isKeptFromChildren(flagged));
   EXPECT_FALSE(descriptors::isNonBlocking(flagged));
}

} // namespace
