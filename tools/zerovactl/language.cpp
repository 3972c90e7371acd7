#include "tools/zerovactl/language.h"

#include "tools/zerovactl/system.h"

#include <algorithm>

namespace zerovactl {

bool equalsIgnoringCase(std::string_view left, std::string_view right)
{
   const auto folded = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; };
   return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                     [&](char a, char b) { return folded(a) == folded(b); });
}

std::optional<std::uint32_t> languageOf(std::string_view text)
{
   for (std::uint32_t i = 0; i < kLanguages.size(); ++i)
      for (const char* name : {kLanguages[i].name, kLanguages[i].shortCode, kLanguages[i].longCode})
         if (equalsIgnoringCase(text, name)) return i;
   return {};
}

std::uint32_t userLanguage()
{
   return languageOf(userLocale().substr(0, 2)).value_or(0);
}

} // namespace zerovactl
