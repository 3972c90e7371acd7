// What holds in every kind of host.
#include "hosts/host.h"

#include "hosts/loaded_bindings.h"

#include <gmock/gmock.h>

namespace {

using namespace zerova::test;
using testing::IsEmpty;

TEST_F(Host, HasAllThatIsItsOwnAtEveryStepOfTheTour)
{
   const std::string before = stateOfTheHost();
   for (const bool global : {false, true}) {
      Tour tour{};
      ASSERT_TRUE(tourLoad(&tour, ZEROVAAPI_LIBRARY, global)) << tour.failure;
      EXPECT_EQ(stateOfTheHost(), before);
      ASSERT_TRUE(tourOpen(&tour, serviceHost())) << tour.failure;
      EXPECT_EQ(stateOfTheHost(), before);
      ASSERT_TRUE(tourUse(&tour)) << tour.failure;
      EXPECT_EQ(stateOfTheHost(), before);
      ASSERT_TRUE(tourClose(&tour)) << tour.failure;
      EXPECT_EQ(stateOfTheHost(), before);
      ASSERT_TRUE(tourUnload(&tour, ZEROVAAPI_LIBRARY)) << tour.failure;
      EXPECT_EQ(stateOfTheHost(), before);
   }
}

TEST_F(Host, LendsTheLibraryNothingButWhatStandsInForTheSystemsOwn)
{
   const LoadedBindings bindings;
   Tour tour{};
   ASSERT_TRUE(tourLoad(&tour, ZEROVAAPI_LIBRARY, false)) << tour.failure;
   EXPECT_GT(bindings.count(), 100u);
   EXPECT_THAT(bindings.toTheProgramAlone(), IsEmpty());
   ASSERT_TRUE(tourUnload(&tour, ZEROVAAPI_LIBRARY)) << tour.failure;
}

} // namespace
