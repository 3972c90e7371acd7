#include "tools/support/windows/wide_text.h"

#include <windows.h>

namespace zerova::tools {

std::wstring widened(std::string_view text)
{
   const int size = static_cast<int>(text.size());
   const int count = MultiByteToWideChar(CP_UTF8, 0, text.data(), size, nullptr, 0);
   std::wstring wide(static_cast<std::size_t>(count), L'\0');
   MultiByteToWideChar(CP_UTF8, 0, text.data(), size, wide.data(), count);
   return wide;
}

std::string narrowed(std::wstring_view wide)
{
   const int size = static_cast<int>(wide.size());
   const int count =
      WideCharToMultiByte(CP_UTF8, 0, wide.data(), size, nullptr, 0, nullptr, nullptr);
   std::string text(static_cast<std::size_t>(count), '\0');
   WideCharToMultiByte(CP_UTF8, 0, wide.data(), size, text.data(), count, nullptr, nullptr);
   return text;
}

} // namespace zerova::tools
