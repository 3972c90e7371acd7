// What docs/settings.md tells an integrator to do, done.
#include "lorvex/variables.h"

#include "support/owned.h"
#include "support/settings_tree.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace {

std::string documentedCommands()
{
   std::ifstream file(ZEROVA_SOURCE_DIR "/docs/settings.md");
   const std::string text{std::istreambuf_iterator<char>(file), {}};
   const std::string opening = "\n```sh root\n";
   const size_t first = text.find(opening);
   if (first == std::string::npos) return "";
   const size_t begin = first + opening.size();
   return text.substr(begin, text.find("\n```", begin) - begin);
}

// The commands as for a build whose settings are elsewhere.
std::string inThisBuild(std::string commands)
{
   const std::string documented = "/etc/trevanta/registry";
   const std::string ours = ZEROVA_REGISTRY_DIR;
   for (size_t at = 0; (at = commands.find(documented, at)) != std::string::npos; at += ours.size())
      commands.replace(at, documented.size(), ours);
   return commands;
}

std::string expand(const char* text, quelerr_Status* status)
{
   OwnedString path(text);
   lorvex_expandPath("dorvex_zerova", &path, status);
   return path.text();
}

TEST(SettingsDocument, ItsCommandsGiveTheFoldersThatItPromises)
{
   using View = SettingsTree::View;
   constexpr const char* kInstaller = "SOFTWARE/Trevanta/Common/Installer";
   constexpr const char* kPlugin = "SOFTWARE/Trevanta/Lorvex/plugins/dorvex_zerova";
   const std::string commands = documentedCommands();
   ASSERT_FALSE(commands.empty());
   SettingsTree tree;
   tree.adopt(tree.addKey(View::of32Bit, kInstaller) / "TRVSHAREDDIR");
   tree.adopt(tree.addKey(View::native, kInstaller) / "TRVSHAREDDIR64");
   tree.adopt(tree.addKey(View::of32Bit, kPlugin) / "scripts");
   ASSERT_EQ(std::system(("set -e\n" + inThisBuild(commands)).c_str()), 0);

   OwnedStatus status;
   EXPECT_EQ(expand("$_trvShared32Dir/Errors", &status), "/opt/trevanta/shared\\Errors");
   EXPECT_EQ(expand("$_trvSharedDir/Errors", &status), "/opt/trevanta/shared\\Errors");
   EXPECT_EQ(expand("$scripts/extra", &status), "/opt/zerova/scripts\\extra");
   EXPECT_EQ(status.code, 0) << status.text();
}

} // namespace
