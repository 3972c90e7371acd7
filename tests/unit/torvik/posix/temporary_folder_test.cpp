#include "platform/standard_folders.h"
#include "support/environment.h"
#include "support/owned.h"
#include "torvik/stdpath.h"

#include <gtest/gtest.h>

#include <string>

namespace {

std::string temporaryFolder(const char* variable)
{
   const EnvironmentVariable set("TMPDIR", variable);
   OwnedString value("before");
   OwnedStatus status;
   torvik_getTempDir(&value, &status);
   EXPECT_EQ(status.code, 0) << status.text();
   return value.text();
}

TEST(TempFolder, ComesFromTheEnvironmentIfAbsolute)
{
   EXPECT_EQ(temporaryFolder("/var/tmp"), "/var/tmp");
   EXPECT_EQ(temporaryFolder(nullptr), "/tmp");
   EXPECT_EQ(temporaryFolder(""), "/tmp");
   EXPECT_EQ(temporaryFolder("relative/folder"), "/tmp");
}

TEST(TempFolder, HasNoSeparatorAtItsEnd)
{
   EXPECT_EQ(temporaryFolder("/var/tmp/"), "/var/tmp");
   EXPECT_EQ(temporaryFolder("/var/tmp//"), "/var/tmp");
   EXPECT_EQ(temporaryFolder("/var/tmp\\"), "/var/tmp");
   EXPECT_EQ(temporaryFolder("/"), "/");
}

TEST(TempFolder, LongerThanTheFirstBufferIsReadWhole)
{
   for (const size_t length : {255u, 256u, 257u, 10'000u}) {
      const std::string folder = "/" + std::string(length - 1, 'a');
      EXPECT_EQ(temporaryFolder(folder.c_str()), folder);
   }
}

// What the logic above makes of it comes out right for some wrong numbers, too.
TEST(TempFolder, SystemCountsTheTerminatorAsNeededButNotAsWritten)
{
   const EnvironmentVariable set("TMPDIR", "/scratch");
   uint16_t path[9];
   EXPECT_EQ(platform::temporaryFolder(path, 9), 8u);
   EXPECT_EQ(path[8], 0);
   EXPECT_EQ(platform::temporaryFolder(path, 8), 9u);
}

TEST(TempFolder, NonLatinScriptArrivesAsUtf8)
{
   EXPECT_EQ(temporaryFolder("/tmp/\xEC\x9E\x84\xEC\x8B\x9C"), "/tmp/\xEC\x9E\x84\xEC\x8B\x9C");
}

} // namespace
