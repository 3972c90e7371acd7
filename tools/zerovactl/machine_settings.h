// The settings of this machine, as the translator reads them.
#ifndef TOOLS_ZEROVACTL_MACHINE_SETTINGS_H
#define TOOLS_ZEROVACTL_MACHINE_SETTINGS_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace zerovactl {

struct Setting
{
   std::string name;
   std::string place; // where it is read from
   std::optional<std::string> value;
   std::string problem; // why there is no value
};

// TRVSHAREDDIR, from the view of 32-bit programs, and TRVSHAREDDIR64, from the native one.
Setting sharedFolder32();
Setting sharedFolder64();
// The variables of the library's own translator.
std::vector<Setting> pluginVariables();

std::string commonDataFolder();
std::string temporaryFolder();

// The folder of the library's own texts, beside this program or in its build; empty: not there.
std::string ownTexts();

// One folder of error description files.
struct TextFolder
{
   std::string path;
   bool isThere = false;
   std::size_t fileCount = 0; // of those that a search reads
};
TextFolder lookAtTextFolder(const std::string& path);

// "missing", "1 file", "3 files".
std::string contentText(const TextFolder& folder);

} // namespace zerovactl

#endif
