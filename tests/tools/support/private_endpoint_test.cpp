#include "tools/support/private_endpoint.h"

#include "support/other_account.h"
#include "support/scratch_folder.h"
#include "tools/support/refused_namespaces.h"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace {

using zerova::tools::CommandNotStarted;
using zerova::tools::NamespaceRefused;
using zerova::tools::PrivateEndpoint;

std::string contentOf(const std::string& path)
{
   std::ifstream file(path, std::ios::binary);
   return {std::istreambuf_iterator<char>(file), {}};
}

// What a shell in the namespace prints.
std::string outputOf(const ScratchFolder& scratch, const std::string& folder,
                     const std::string& place, const std::string& script)
{
   const std::string file = scratch.path("output");
   PrivateEndpoint command(folder, place, {"sh", "-c", "{ " + script + "; } >" + file + " 2>&1"});
   command.wait();
   return contentOf(file);
}

TEST(PrivateEndpoint, CommandSeesTheFolderAtThePlace)
{
   const ScratchFolder scratch;
   scratch.write("ours/com.zerova", "ours");
   scratch.write("place/com.zerova", "the system's");
   EXPECT_EQ(outputOf(scratch, scratch.path("ours"), scratch.path("place"),
                      "cat " + scratch.path("place/com.zerova")),
             "ours");
   EXPECT_EQ(contentOf(scratch.path("place/com.zerova")), "the system's");
}

TEST(PrivateEndpoint, MissingPlaceIsMadeForTheCommandAlone)
{
   const ScratchFolder scratch;
   scratch.write("ours/com.zerova", "ours");
   scratch.makeFolder("run");
   EXPECT_EQ(outputOf(scratch, scratch.path("ours"), scratch.path("run/deep/zerova"),
                      "cat " + scratch.path("run/deep/zerova/com.zerova")),
             "ours");
   EXPECT_TRUE(std::filesystem::is_empty(scratch.path("run")));
}

TEST(PrivateEndpoint, RestOfTheFolderAboveAMissingPlaceStaysAsItWas)
{
   const ScratchFolder scratch;
   scratch.makeFolder("ours");
   scratch.write("run/folder/file", "in a folder ");
   scratch.write("run/file", "alone ");
   std::filesystem::create_symlink("folder/file", scratch.path("run/link"));
   EXPECT_EQ(outputOf(scratch, scratch.path("ours"), scratch.path("run/zerova"),
                      "cd " + scratch.path("run") + "; cat folder/file file link; ls | xargs"),
             "in a folder alone in a folder file folder link zerova\n");
}

TEST(PrivateEndpoint, WhatTheCommandWritesBesideTheEndpointsStays)
{
   const ScratchFolder scratch;
   scratch.makeFolder("ours");
   scratch.makeFolder("run/folder");
   outputOf(scratch, scratch.path("ours"), scratch.path("run/zerova"),
            "echo kept >" + scratch.path("run/folder/file"));
   EXPECT_EQ(contentOf(scratch.path("run/folder/file")), "kept\n");
}

TEST(PrivateEndpoint, FolderMayLieBelowWhatIsLaidOutAnew)
{
   const ScratchFolder scratch;
   scratch.write("run/ours/com.zerova", "ours");
   EXPECT_EQ(outputOf(scratch, scratch.path("run/ours"), scratch.path("run/zerova"),
                      "cat " + scratch.path("run/zerova/com.zerova")),
             "ours");
}

TEST(PrivateEndpoint, CommandKeepsItsFolder)
{
   const ScratchFolder scratch;
   EXPECT_EQ(outputOf(scratch, scratch.makeFolder("ours"), scratch.makeFolder("run"), "pwd"),
             std::filesystem::current_path().string() + "\n");
}

TEST(PrivateEndpoint, CommandCanBeRunAsItIs)
{
   const ScratchFolder scratch;
   PrivateEndpoint command({"sh", "-c", "pwd >" + scratch.path("output") + "; exit 7"});
   EXPECT_EQ(command.wait(), 7);
   EXPECT_EQ(contentOf(scratch.path("output")), std::filesystem::current_path().string() + "\n");
}

TEST(PrivateEndpoint, ExitStatusOfTheCommandIsPassedOn)
{
   const ScratchFolder scratch;
   PrivateEndpoint command(scratch.path(), scratch.makeFolder("place"), {"sh", "-c", "exit 7"});
   EXPECT_EQ(command.wait(), 7);
   EXPECT_EQ(command.wait(), 7);
}

TEST(PrivateEndpoint, SignalThatKillsTheCommandIsTold)
{
   const ScratchFolder scratch;
   PrivateEndpoint command(scratch.path(), scratch.makeFolder("place"), {"sleep", "600"});
   command.send(SIGTERM);
   EXPECT_EQ(command.wait(), 128 + SIGTERM);
}

TEST(PrivateEndpoint, MissingProgramIsTold)
{
   const ScratchFolder scratch;
   try {
      const PrivateEndpoint command(scratch.path(), scratch.makeFolder("place"), {"/no/program"});
      FAIL();
   } catch (const CommandNotStarted& error) {
      EXPECT_EQ(error.exitStatus, 127);
      EXPECT_STREQ(error.what(), "/no/program: No such file or directory");
   }
}

TEST(PrivateEndpoint, FileThatIsNoProgramIsTold)
{
   const ScratchFolder scratch;
   try {
      const PrivateEndpoint command(scratch.path(), scratch.makeFolder("place"),
                                    {scratch.write("text", "no program")});
      FAIL();
   } catch (const CommandNotStarted& error) {
      EXPECT_EQ(error.exitStatus, 126);
   }
}

TEST(PrivateEndpoint, PlaceRightBelowTheRootMustBeThere)
{
   const ScratchFolder scratch;
   EXPECT_THROW(PrivateEndpoint(scratch.path(), "/zerova-missing/run", {"true"}), NamespaceRefused);
}

// The account has no rights over the folder that is laid out anew.
TEST(PrivateEndpoint, NeedsNoRightsOfRoot)
{
   zerova::test::OtherAccount nobody([] {
      const ScratchFolder scratch;
      scratch.write("ours/com.zerova", "ours ");
      return outputOf(scratch, scratch.path("ours"), "/run/zerova-test/deep",
                      "cat /run/zerova-test/deep/com.zerova; id -u; ls -d /run/lock");
   });
   const std::string account = ::geteuid() == 0 ? "65534" : std::to_string(::geteuid());
   EXPECT_EQ(nobody.run(), "ours " + account + "\n/run/lock\n");
   EXPECT_FALSE(std::filesystem::exists("/run/zerova-test"));
}

TEST(PrivateEndpoint, RefusedNamespacesAreTold)
{
   zerova::test::OtherAccount refused([] {
      zerova::test::refuseNamespaces();
      const ScratchFolder scratch;
      try {
         const PrivateEndpoint command(scratch.path(), scratch.makeFolder("place"), {"true"});
      } catch (const NamespaceRefused& error) {
         return std::string(error.what());
      }
      return std::string("not refused");
   });
   EXPECT_EQ(refused.run(),
             "this system gives out no namespaces (unshare: Operation not permitted)");
}

} // namespace
