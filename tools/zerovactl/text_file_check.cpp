#include "tools/zerovactl/text_file_check.h"

#include "tools/zerovactl/language.h"

#include "platform/code_page.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <optional>

namespace zerovactl {

namespace {

constexpr std::size_t kLongestLine = 1023;

bool startsWith(std::string_view line, std::string_view tag)
{
   return equalsIgnoringCase(line.substr(0, tag.size()), tag);
}

bool isMeant(std::uint32_t codePage, std::string_view bytes)
{
   return bytes.empty() || platform::measureUtf16(codePage, bytes.data(), bytes.size()) > 0;
}

// As somebody sees it who takes the bytes for the code page.
std::string read(std::uint32_t codePage, std::string_view bytes)
{
   std::vector<std::uint16_t> units(bytes.size());
   const std::size_t count =
      platform::convertToUtf16(codePage, bytes.data(), bytes.size(), units.data(), units.size());
   const std::u16string wide(units.begin(), units.begin() + static_cast<std::ptrdiff_t>(count));
   const std::u8string text = std::filesystem::path(wide).u8string();
   return {text.begin(), text.end()};
}

// The length of the character of two bytes or more that begins here in UTF-8; 0: none does.
std::size_t utf8Length(std::string_view text)
{
   const auto byte = [&](std::size_t i) {
      return i < text.size() ? static_cast<unsigned char>(text[i]) : 0u;
   };
   const std::size_t length = byte(0) >= 0xF0 && byte(0) < 0xF5   ? 4
                              : byte(0) >= 0xE0 && byte(0) < 0xF0 ? 3
                              : byte(0) >= 0xC2 && byte(0) < 0xE0 ? 2
                                                                  : 0;
   for (std::size_t i = 1; i < length; ++i)
      if ((byte(i) & 0xC0) != 0x80) return 0;
   return length;
}

// Whether all that is beyond ASCII is UTF-8, and something is.
bool isUtf8(std::string_view text)
{
   bool isAny = false;
   for (std::size_t i = 0; i < text.size();) {
      if (static_cast<unsigned char>(text[i]) < 0x80) {
         ++i;
         continue;
      }
      const std::size_t length = utf8Length(text.substr(i));
      if (length == 0) return false;
      isAny = true;
      i += length;
   }
   return isAny;
}

std::string hexadecimal(std::string_view bytes)
{
   std::string text;
   for (const char byte : bytes) {
      std::array<char, 8> digits;
      std::snprintf(digits.data(), digits.size(), " %02X", static_cast<unsigned char>(byte));
      text += digits.data();
   }
   return text;
}

class FileCheck
{
public:
   FileCheck(const std::string& file, std::uint32_t codePage, KnownCodes& known,
             std::vector<Finding>& findings)
      : file_(file)
      , codePage_(codePage)
      , known_(known)
      , findings_(findings)
   {
   }

   void run(std::string_view content)
   {
      if (hasByteOrderMark(content)) {
         find(1, 0, "byte-order mark: the file is skipped");
         return;
      }
      isWholeUtf8_ = isUtf8(content);
      while (!content.empty()) {
         const std::size_t end = content.find('\n');
         std::string_view line = content.substr(0, end);
         content.remove_prefix(end == std::string_view::npos ? content.size() : end + 1);
         ++line_;
         if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
         if (!check(line)) return;
      }
      if (line_ < 2)
         find(0, 0, "the file is skipped: it has no <tvdocument> in line 2");
      else if (inEntry_)
         find(entryLine_, 0,
              "this entry has no </tverror>: a search that comes here fails (-52006)");
      else if (inComment_)
         find(commentLine_, 0, "this comment has no </tvcomment>: nothing behind it is read");
   }

private:
   static bool hasByteOrderMark(std::string_view content)
   {
      return content.substr(0, 3) == "\xEF\xBB\xBF" || content.substr(0, 2) == "\xFF\xFE" ||
             content.substr(0, 2) == "\xFE\xFF";
   }

   void find(int line, int column, const std::string& text)
   {
      findings_.push_back({file_, line, column, text});
   }

   // False: the rest of the file counts for nothing.
   bool check(std::string_view line)
   {
      if (line_ == 1 && !startsWith(line, "<?xml version=\"1.0\"")) {
         find(1, 0, "the file is skipped: it does not begin with <?xml version=\"1.0\"");
         return false;
      }
      if (line_ == 2 && !startsWith(line, "<tvdocument>")) {
         find(2, 0, "the file is skipped: line 2 does not begin with <tvdocument>");
         return false;
      }
      if (line_ <= 2) return true;
      if (const auto nul = line.find('\0'); nul != std::string_view::npos)
         find(line_, static_cast<int>(nul) + 1, "a NUL byte ends what is seen of the line");
      if (line.size() > kLongestLine)
         find(line_, 0, "longer than 1023 bytes: it counts as several lines");
      if (inComment_) {
         inComment_ = !startsWith(line, "</tvcomment>");
      } else if (inEntry_ && startsWith(line, "</tverror>")) {
         inEntry_ = false;
         if (!hasText_) find(entryLine_, 0, "this entry has no text: it counts as none");
      } else if (inEntry_) {
         checkText(line);
      } else if (startsWith(line, "<tvcomment>")) {
         inComment_ = true;
         commentLine_ = line_;
      } else if (startsWith(line, "<tverror code=\"")) {
         beginEntry(line);
      } else if (startsWith(line, "</tvdocument>")) {
         return false;
      }
      return true;
   }

   void beginEntry(std::string_view line)
   {
      constexpr std::size_t kNumberAt = 15;
      inEntry_ = true;
      hasText_ = false;
      entryLine_ = line_;
      const std::string number(line.substr(kNumberAt));
      char* end = nullptr;
      errno = 0;
      const long long value = std::strtoll(number.c_str(), &end, 0);
      if (end == number.c_str()) {
         find(line_, static_cast<int>(kNumberAt) + 1,
              "no number: a search that comes here fails (-52006)");
         return;
      }
      if (errno != 0 || value < INT32_MIN || value > UINT32_MAX) {
         find(line_, static_cast<int>(kNumberAt) + 1, "a number that is no status code");
         return;
      }
      const auto code = static_cast<std::int32_t>(static_cast<std::uint32_t>(value));
      const auto [first, isNew] = known_.emplace(code, file_ + ":" + std::to_string(line_));
      if (!isNew)
         find(line_, 0,
              "the code " + std::to_string(code) + " stands in " + first->second +
                 " already; one of the two counts");
   }

   void checkText(std::string_view line)
   {
      if (!line.empty()) hasText_ = true;
      std::size_t at = 0;
      while (at < line.size() && static_cast<unsigned char>(line[at]) < 0x80)
         ++at;
      if (at == line.size()) return;
      if (codePage_ == 0) {
         find(line_, static_cast<int>(at) + 1,
              "beyond ASCII: each language reads this file in a code page of its own");
         return;
      }
      if (isWholeUtf8_ || (codePage_ == 1252 && isUtf8(line)))
         tellUtf8(line, at);
      else
         tellRefused(line);
   }

   void tellUtf8(std::string_view line, std::size_t at)
   {
      const std::string page = std::to_string(codePage_);
      std::size_t begin = at;
      while (begin > 0 && line[begin - 1] != ' ')
         --begin;
      const std::string_view word = line.substr(begin, line.find(' ', at) - begin);
      const std::string seen =
         isMeant(codePage_, word)
            ? "\"" + read(codePage_, word) + "\""
            : "bytes" + hexadecimal(line.substr(at, utf8Length(line.substr(at))));
      find(line_, static_cast<int>(begin) + 1,
           "not in code page " + page + " as meant? " + seen +
              " looks like UTF-8 (iconv -f UTF-8 -t CP" + page + ")");
   }

   void tellRefused(std::string_view line)
   {
      std::size_t at = 0;
      while (at < line.size()) {
         std::size_t length = 1;
         while (length <= 2 && at + length <= line.size() &&
                !isMeant(codePage_, line.substr(at, length)))
            ++length;
         if (length <= 2 && at + length <= line.size()) {
            at += length;
            continue;
         }
         // A lead byte of a code page of two bytes takes the next one with it.
         const std::size_t bad = codePage_ == 1252 ? 1 : 2;
         find(line_, static_cast<int>(at) + 1,
              (line.size() - at < bad || bad == 1 ? "byte" : "bytes") +
                 hexadecimal(line.substr(at, bad)) +
                 (line.size() - at < bad || bad == 1 ? " is" : " are") +
                 " no character of code page " + std::to_string(codePage_) +
                 "; the whole text is refused (-52027)");
         return;
      }
   }

   const std::string& file_;
   const std::uint32_t codePage_;
   KnownCodes& known_;
   std::vector<Finding>& findings_;
   bool isWholeUtf8_ = false;
   int line_ = 0;
   bool inEntry_ = false;
   bool hasText_ = false;
   int entryLine_ = 0;
   bool inComment_ = false;
   int commentLine_ = 0;
};

} // namespace

void checkTextFile(const std::string& file, std::string_view content, std::uint32_t codePage,
                   KnownCodes& known, std::vector<Finding>& findings)
{
   FileCheck(file, codePage, known, findings).run(content);
}

} // namespace zerovactl
