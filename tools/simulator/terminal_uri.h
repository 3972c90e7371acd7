// Terminal URIs: "/device/terminal".
#ifndef TOOLS_SIMULATOR_TERMINAL_URI_H
#define TOOLS_SIMULATOR_TERMINAL_URI_H

#include <optional>
#include <string>
#include <string_view>

namespace zerova::simulator {

struct TerminalUri
{
   std::string device; // as it was written
   std::string terminal;

   std::string text() const { return "/" + device + "/" + terminal; }
};

// Takes a URI apart. The slash in front may be missing, slashes may be doubled and one may stand at
// the end; device and terminal are both needed, and neither holds blanks or control characters.
// Empty: malformed.
std::optional<TerminalUri> parseTerminalUri(std::string_view text);

// Device names and aliases are compared without regard to the case of the letters A to Z: two names
// are one device if this gives the same text for both. Terminal names are compared as they stand.
std::string foldedDeviceName(std::string_view name);

} // namespace zerova::simulator

#endif
