// Text of others, made fit for a terminal.
#ifndef TOOLS_ZEROVACTL_SHOWN_TEXT_H
#define TOOLS_ZEROVACTL_SHOWN_TEXT_H

#include <cstddef>
#include <string>
#include <string_view>

namespace zerovactl {

// Control characters, what turns the direction of writing, and bytes that are no UTF-8 come as
// \xNN or \u{N}: a name from a service must not drive the user's terminal. asciiOnly: everything
// beyond ASCII too.
std::string shown(std::string_view text, bool asciiOnly = false);

// Columns that a text takes which is fit to be shown.
std::size_t columnsOf(std::string_view text);

// How much a text counts for the width of its column: a very long one sticks out, for were all others
// made as long, a service could have the tool fill the machine.
std::size_t widthFor(std::string_view text);

// The text with blanks behind it, one at least, up to the width.
std::string padded(const std::string& text, std::size_t width);

} // namespace zerovactl

#endif
