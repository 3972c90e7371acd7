#include "support/settings_tree.h"

#include <fstream>
#include <stdexcept>

namespace {

[[noreturn]] void refuse(const std::filesystem::path& path)
{
   throw std::runtime_error("cannot write " + path.string() +
                            ": configure the build with a ZEROVA_REGISTRY_DIR that tests may write"
                            " to, as the presets for tests do");
}

} // namespace

const std::u16string_view SettingsTree::kEndOfText;

SettingsTree::~SettingsTree()
{
   std::error_code ignored; // what the test has removed itself is gone already
   for (auto made = made_.rbegin(); made != made_.rend(); ++made)
      std::filesystem::remove(made->path, ignored);
}

std::filesystem::path SettingsTree::addKey(View view, std::string_view key)
{
   std::filesystem::path path =
      view == View::native ? ZEROVA_REGISTRY_DIR : ZEROVA_REGISTRY_DIR "32";
   std::filesystem::path soFar;
   for (const auto& name : path / key) {
      soFar /= name;
      std::error_code failure;
      if (std::filesystem::create_directory(soFar, failure)) made_.push_back({view, soFar, {}});
      if (failure) refuse(soFar);
   }
   return soFar;
}

std::filesystem::path SettingsTree::addValue(View view, std::string_view key, std::string_view name,
                                             std::string_view content)
{
   const auto path = addKey(view, key) / name;
   made_.push_back({view, path, name});
   std::ofstream file(path, std::ios::binary);
   file.write(content.data(), static_cast<std::streamsize>(content.size()));
   file.close();
   if (!file) refuse(path);
   return path;
}

void SettingsTree::removeValue(View view, std::string_view key, std::string_view name)
{
   const std::filesystem::path root =
      view == View::native ? ZEROVA_REGISTRY_DIR : ZEROVA_REGISTRY_DIR "32";
   std::filesystem::remove(root / key / name);
}

void SettingsTree::adopt(const std::filesystem::path& path)
{
   made_.push_back({View::native, path, path.filename()});
}
