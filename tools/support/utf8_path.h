// Paths as UTF-8 texts, which they are not on every system.
#ifndef TOOLS_SUPPORT_UTF8_PATH_H
#define TOOLS_SUPPORT_UTF8_PATH_H

#include <filesystem>
#include <string>

namespace zerova::tools {

inline std::filesystem::path pathOf(const std::string& text)
{
   return std::u8string(text.begin(), text.end());
}

inline std::string textOf(const std::filesystem::path& path)
{
   const std::u8string text = path.u8string();
   return {text.begin(), text.end()};
}

} // namespace zerova::tools

#endif
