#include "platform/clock.h"
#include "support/signals.h"

#include <gtest/gtest.h>

namespace {

// A pause that began anew after each signal would last as long as they come.
TEST(Clock, SignalsDoNotProlongAPause)
{
   const Signals signals;
   const int64_t start = platform::monotonicMs();
   platform::pauseMs(500);
   const int64_t elapsed = platform::monotonicMs() - start;
   EXPECT_GE(elapsed, 500 - platform::clockTickMs());
   EXPECT_LT(elapsed, 10000);
   EXPECT_GT(signals.count(), 0) << "nothing has interrupted the pause";
}

} // namespace
