// What holds for a host that lets go of the library, whatever it has of its own.
#include "hosts/host.h"

#include "support/open_descriptors.h"

#include <future>
#include <thread>

namespace {

using namespace zerova::test;

TEST_F(Host, ThreadThatUsedTheLibraryMayEndBehindIt)
{
   Tour tour{};
   std::promise<void> used;
   std::promise<void> unloaded;
   std::thread thread([&] {
      tourLoad(&tour, ZEROVAAPI_LIBRARY, false);
      tourOpen(&tour, serviceHost());
      tourUse(&tour);
      tourClose(&tour);
      used.set_value();
      unloaded.get_future().wait();
   });
   used.get_future().wait();
   const bool gone = tourUnload(&tour, ZEROVAAPI_LIBRARY);
   unloaded.set_value();
   thread.join();
   EXPECT_TRUE(gone) << tour.failure;
}

TEST_F(Host, LoadedAndUnloadedLibraryLeavesNoDescriptorOpen)
{
   takeWholeTour(); // the system keeps what it has opened for the first
   const size_t before = openDescriptors();
   for (int round = 0; round < 5; ++round)
      takeWholeTour();
   EXPECT_EQ(openDescriptors(), before);
}

} // namespace
