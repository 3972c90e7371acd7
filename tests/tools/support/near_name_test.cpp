#include "tools/support/near_name.h"

#include <gtest/gtest.h>

namespace {

using zerova::tools::nearName;

TEST(NearName, NoNameIsNearWhatIsFarFromAll)
{
   EXPECT_EQ(nearName("digitiser3", {"timer1", "digitizer3"}), "digitizer3");
   EXPECT_EQ(nearName("ab", {"cd", "ac"}), "");
   EXPECT_EQ(nearName("oscilloscope", {"timer1"}), "");
}

} // namespace
