#include "tools/zerovactl/machine_settings.h"

#include "tools/zerovactl/system.h"

#include "tools/support/utf8_path.h"

#include "platform/directory.h"
#include "platform/settings_tree.h"
#include "platform/standard_folders.h"

#include <array>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <vector>

namespace zerovactl {

using zerova::tools::pathOf;
using zerova::tools::textOf;

namespace {

constexpr char kInstaller[] = "SOFTWARE\\Trevanta\\Common\\Installer";
constexpr char kPlugin[] = "SOFTWARE\\Trevanta\\Lorvex\\plugins\\dorvex_zerova";
constexpr std::uint32_t kNotThere = 2;

std::vector<std::uint16_t> widened(const std::string& text)
{
   const std::u16string wide = pathOf(text).u16string();
   std::vector<std::uint16_t> units(wide.begin(), wide.end());
   units.push_back(0);
   return units;
}

std::string narrowed(const std::uint16_t* units, std::size_t count)
{
   return textOf(std::u16string(units, units + count));
}

Setting read(const std::string& key, const std::string& name, bool of32Bit)
{
   Setting setting;
   setting.name = name;
   setting.place = settingPlace(key, name, of32Bit);
   platform::SettingsKeyHandle handle = 0;
   const std::uint32_t access =
      platform::kSettingsRead | (of32Bit ? platform::kSettingsOf32Bit : 0);
   std::uint32_t failure = platform::openSettingsKey(widened(key).data(), access, &handle);
   if (failure == 0) {
      const auto wideName = widened(name);
      std::vector<std::uint16_t> units(260);
      std::uint32_t size = 0;
      do {
         size = static_cast<std::uint32_t>(units.size() * sizeof units[0]);
         failure = platform::readSettingsValue(handle, wideName.data(), units.data(), &size);
         if (failure == platform::kMoreData) units.resize(size / sizeof units[0] + 1);
      } while (failure == platform::kMoreData);
      platform::closeSettingsKey(handle);
      if (failure == 0) {
         std::size_t count = size / sizeof units[0];
         while (count > 0 && units[count - 1] == 0)
            --count;
         setting.value = narrowed(units.data(), count);
      }
   }
   if (failure == kNotThere)
      setting.problem = "not set";
   else if (failure != 0)
      setting.problem = systemText(static_cast<int>(failure));
   return setting;
}

// As the translator trims the standard folders.
Setting readFolder(const std::string& name, bool of32Bit)
{
   Setting setting = read(kInstaller, name, of32Bit);
   if (!setting.value) return setting;
   std::string& value = *setting.value;
   value.erase(value.find_last_not_of(" \\") + 1);
   value.erase(0, value.find_first_not_of(' '));
   return setting;
}

bool endsWith(std::string_view text, std::string_view end)
{
   return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

} // namespace

Setting sharedFolder32()
{
   return readFolder("TRVSHAREDDIR", true);
}

Setting sharedFolder64()
{
   return readFolder("TRVSHAREDDIR64", false);
}

std::vector<Setting> pluginVariables()
{
   std::vector<Setting> variables;
   for (const std::string& name : settingNames(kPlugin, true))
      variables.push_back(read(kPlugin, name, true));
   return variables;
}

std::string commonDataFolder()
{
   std::array<std::uint16_t, platform::kFolderPathUnits> path = {};
   if (platform::folderPath(platform::kCommonDataFolder, path.data()) != 0) return {};
   std::size_t length = 0;
   while (path[length] != 0)
      ++length;
   return narrowed(path.data(), length) + "/Trevanta";
}

std::string temporaryFolder()
{
   std::vector<std::uint16_t> path(platform::kFolderPathUnits);
   std::size_t length = platform::temporaryFolder(path.data(), path.size());
   if (length > path.size()) {
      path.resize(length);
      length = platform::temporaryFolder(path.data(), path.size());
   }
   return narrowed(path.data(), length);
}

std::string ownTexts()
{
   const std::filesystem::path program = programPath().parent_path();
   // Installed; then in the folder of a build.
   for (const char* way : {ZEROVACTL_WAY_TO_TEXTS, ZEROVACTL_WAY_TO_BUILT_TEXTS}) {
      std::error_code error;
      const auto folder = std::filesystem::canonical(program / way, error);
      if (!error) return textOf(folder);
   }
   return {};
}

TextFolder lookAtTextFolder(const std::string& path)
{
   TextFolder result;
   result.path = path;
   platform::Directory folder;
   if (platform::openDirectory(path.c_str(), &folder) != 0) return result;
   result.isThere = true;
   platform::DirectoryEntry entry;
   while (platform::readEntry(&folder, &entry)) {
      const std::string_view name = entry.name;
      if (entry.isRegular && (endsWith(name, ".txt") || endsWith(name, ".err"))) ++result.fileCount;
   }
   platform::closeDirectory(&folder);
   return result;
}

std::string contentText(const TextFolder& folder)
{
   if (!folder.isThere) return "missing";
   return std::to_string(folder.fileCount) + (folder.fileCount == 1 ? " file" : " files");
}

} // namespace zerovactl
