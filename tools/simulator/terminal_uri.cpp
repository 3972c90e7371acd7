#include "tools/simulator/terminal_uri.h"

#include <algorithm>
#include <vector>

namespace zerova::simulator {

namespace {

char lowered(char c)
{
   return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool isForbidden(char c)
{
   const auto byte = static_cast<unsigned char>(c);
   return byte <= ' ' || byte == 0x7F;
}

} // namespace

std::optional<TerminalUri> parseTerminalUri(std::string_view text)
{
   std::vector<std::string> names;
   while (!text.empty()) {
      const std::size_t length = std::min(text.find('/'), text.size());
      if (length > 0) names.emplace_back(text.substr(0, length));
      text.remove_prefix(std::min(length + 1, text.size()));
   }
   if (names.size() != 2) return std::nullopt;
   for (const std::string& name : names)
      if (std::any_of(name.begin(), name.end(), isForbidden)) return std::nullopt;
   return TerminalUri{names[0], names[1]};
}

std::string foldedDeviceName(std::string_view name)
{
   std::string folded(name);
   std::transform(folded.begin(), folded.end(), folded.begin(), lowered);
   return folded;
}

} // namespace zerova::simulator
