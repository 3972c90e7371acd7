#include "tools/zerovactl/service_connection.h"

#include "support/posix/filled_descriptors.h"

#include <gtest/gtest.h>

#include <chrono>

namespace {

using zerova::test::FilledDescriptors;
using zerovactl::ConnectionFailure;
using zerovactl::connectTo;

TEST(ServiceConnection, ThatFindsNoSocketIsAFailureWithItsCause)
{
   const auto soon = std::chrono::steady_clock::now() + std::chrono::seconds(10);
   FilledDescriptors all(256);
   all.open(SIZE_MAX);
   try {
      connectTo(0x7F000001, 1, soon);
      FAIL() << "a socket was there";
   } catch (const ConnectionFailure& failure) {
      EXPECT_STREQ(failure.what(), "no socket to be had: Too many open files");
   }
}

} // namespace
