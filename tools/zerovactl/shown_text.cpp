#include "tools/zerovactl/shown_text.h"

#include <array>
#include <cstdint>
#include <cstdio>

namespace zerovactl {

namespace {

struct Character
{
   std::uint32_t code = 0;
   std::size_t length = 0; // 0: no UTF-8
};

Character characterAt(std::string_view text)
{
   const auto byte = [&](std::size_t i) {
      return i < text.size() ? static_cast<unsigned char>(text[i]) : 0u;
   };
   const std::uint32_t first = byte(0);
   if (first < 0x80) return {first, 1};
   const std::size_t length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : first >= 0xC2 ? 2 : 0;
   if (length == 0 || first > 0xF4) return {};
   std::uint32_t code = first & (0xFFu >> (length + 1));
   for (std::size_t i = 1; i < length; ++i) {
      if ((byte(i) & 0xC0) != 0x80) return {};
      code = code << 6 | (byte(i) & 0x3F);
   }
   constexpr std::array<std::uint32_t, 5> kSmallest = {0, 0, 0x80, 0x800, 0x10000};
   if (code < kSmallest[length] || code > 0x10FFFF || (code >= 0xD800 && code < 0xE000)) return {};
   return {code, length};
}

bool drivesTerminal(std::uint32_t code)
{
   return code < 0x20 || (code >= 0x7F && code < 0xA0) || (code >= 0x200E && code <= 0x200F) ||
          (code >= 0x2028 && code <= 0x202E) || (code >= 0x2066 && code <= 0x2069);
}

bool isWide(std::uint32_t code)
{
   return (code >= 0x1100 && code < 0x1160) || (code >= 0x2E80 && code < 0xA4D0) ||
          (code >= 0xAC00 && code < 0xD7A4) || (code >= 0xF900 && code < 0xFB00) ||
          (code >= 0xFE30 && code < 0xFE70) || (code >= 0xFF00 && code < 0xFF61) ||
          (code >= 0xFFE0 && code < 0xFFE7) || (code >= 0x1F300 && code < 0x1F650) ||
          (code >= 0x20000 && code < 0x3FFFE);
}

void appendByte(std::string& result, std::uint32_t byte)
{
   std::array<char, 16> escape;
   std::snprintf(escape.data(), escape.size(), "\\x%02X", byte);
   result += escape.data();
}

void appendNumber(std::string& result, std::uint32_t number)
{
   std::array<char, 16> escape;
   std::snprintf(escape.data(), escape.size(), "\\u{%X}", number);
   result += escape.data();
}

} // namespace

std::string shown(std::string_view text, bool asciiOnly)
{
   std::string result;
   while (!text.empty()) {
      const Character character = characterAt(text);
      if (character.length == 0)
         appendByte(result, static_cast<unsigned char>(text[0]));
      else if (character.code == '\n')
         result += "\\n";
      else if (character.code == '\t')
         result += "\\t";
      else if (character.code < 0x80 && drivesTerminal(character.code))
         appendByte(result, character.code);
      else if (drivesTerminal(character.code) || (asciiOnly && character.code >= 0x80))
         appendNumber(result, character.code);
      else
         result += text.substr(0, character.length);
      text.remove_prefix(character.length == 0 ? 1 : character.length);
   }
   return result;
}

std::size_t columnsOf(std::string_view text)
{
   std::size_t columns = 0;
   while (!text.empty()) {
      const Character character = characterAt(text);
      columns += isWide(character.code) ? 2u : 1u;
      text.remove_prefix(character.length == 0 ? 1 : character.length);
   }
   return columns;
}

std::size_t widthFor(std::string_view text)
{
   constexpr std::size_t kWidestColumn = 100;
   const std::size_t columns = columnsOf(text);
   return columns <= kWidestColumn ? columns : 0;
}

std::string padded(const std::string& text, std::size_t width)
{
   const std::size_t columns = columnsOf(text);
   return text + std::string(columns < width ? width - columns : 1, ' ');
}

} // namespace zerovactl
