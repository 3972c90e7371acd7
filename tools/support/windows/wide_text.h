// Texts as the system takes and gives them. What is no text becomes U+FFFD.
#ifndef TOOLS_SUPPORT_WINDOWS_WIDE_TEXT_H
#define TOOLS_SUPPORT_WINDOWS_WIDE_TEXT_H

#include <string>
#include <string_view>

namespace zerova::tools {

std::wstring widened(std::string_view text);
std::string narrowed(std::wstring_view wide);

} // namespace zerova::tools

#endif
