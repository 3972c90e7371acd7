#include "fuzz/plain_error_file.h"

#include "lorvex/scan_integer.h"

#include <strings.h>
#include <vector>

namespace {

constexpr size_t kPieceSize = 1023;
constexpr size_t kNumberOffset = 15;

std::vector<std::string> piecesOf(std::string_view content)
{
   std::vector<std::string> pieces;
   while (!content.empty()) {
      const std::string_view most = content.substr(0, kPieceSize);
      const std::string_view piece = most.substr(0, most.find('\n') + 1);
      pieces.emplace_back(piece.empty() ? most : piece);
      content.remove_prefix(pieces.back().size());
   }
   return pieces;
}

bool begins(const std::string& piece, std::string_view tag)
{
   return strncasecmp(piece.c_str(), tag.data(), tag.size()) == 0;
}

void cutEnd(std::string& text)
{
   const size_t last = text.find_last_not_of("\r\n");
   if (last != text.npos) text.resize(last + 1);
}

} // namespace

PlainDescription plainDescription(std::string_view content, int32_t code)
{
   const PlainDescription nothing{"", false};
   const PlainDescription failure{"", true};
   const std::vector<std::string> pieces = piecesOf(content);
   if (pieces.size() < 2 || !begins(pieces[0], "<?xml version=\"1.0\"") ||
       !begins(pieces[1], "<tvdocument>"))
      return nothing;
   for (size_t i = 2; i < pieces.size(); ++i) {
      if (begins(pieces[i], "</tvdocument>")) return nothing;
      if (begins(pieces[i], "<tvcomment>")) {
         do
            ++i;
         while (i < pieces.size() && !begins(pieces[i], "</tvcomment>"));
      } else if (begins(pieces[i], "<tverror code=\"")) {
         int32_t number = 0;
         if (lorvex_scanInteger(pieces[i].c_str() + kNumberOffset, &number) != 1) return failure;
         std::string text;
         for (++i; i < pieces.size() && !begins(pieces[i], "</tverror>"); ++i)
            text += pieces[i].c_str(); // a NUL byte cuts the line
         if (i == pieces.size()) return failure;
         cutEnd(text);
         if (number == code) return {text, false};
      } else if (pieces[i][0] == '\0') {
         return failure;
      }
   }
   return nothing;
}
