#include "tools/zerovactl/file_content.h"

#include "tools/zerovactl/failure.h"
#include "tools/zerovactl/shown_text.h"
#include "tools/zerovactl/system.h"

#include "tools/support/utf8_path.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <fstream>
#include <system_error>

namespace zerovactl {

using zerova::tools::pathOf;

namespace {

constexpr std::size_t kPiece = std::size_t{64} * 1024;

} // namespace

std::string contentOfFile(const std::string& name, std::size_t limit)
{
   errno = 0;
   std::ifstream file(pathOf(name), std::ios::binary);
   std::string content;
   std::array<char, kPiece> piece;
   while (file && content.size() < limit) {
      file.read(piece.data(),
                static_cast<std::streamsize>(std::min(piece.size(), limit - content.size())));
      content.append(piece.data(), static_cast<std::size_t>(file.gcount()));
   }
   // An error in the middle looks like the end but for this.
   if (!file.is_open() || file.bad())
      throw Failure(kFailed, shown(name) + ": " + std::generic_category().message(errno));
   return content;
}

std::string contentOfInput(std::size_t limit)
{
   std::string content;
   std::array<char, kPiece> piece;
   std::size_t count = 1;
   while (count > 0 && content.size() < limit) {
      count = readInput(piece.data(), std::min(piece.size(), limit - content.size()));
      content.append(piece.data(), count);
   }
   return content;
}

} // namespace zerovactl
