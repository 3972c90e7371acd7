#include "tools/zerovactl/output.h"

#include "tools/zerovactl/failure.h"
#include "tools/zerovactl/shown_text.h"
#include "tools/zerovactl/system.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <iostream>
#include <system_error>

namespace zerovactl {

namespace {

constexpr std::array<const char*, 4> kEscapes = {"\x1b[0m", "\x1b[32m", "\x1b[31m", "\x1b[2m"};

bool isSet(const char* variable)
{
   const char* const value = std::getenv(variable);
   return value && *value;
}

bool takesColour()
{
   const char* const kind = std::getenv("TERM");
   return isTerminal(1) && !isSet("NO_COLOR") && kind && std::strcmp(kind, "dumb") != 0;
}

std::string timeText(std::chrono::system_clock::time_point moment, bool isUtc)
{
   using std::chrono::milliseconds;
   const std::time_t seconds = std::chrono::system_clock::to_time_t(moment);
   const auto part =
      std::chrono::duration_cast<milliseconds>(moment.time_since_epoch()).count() % 1000;
   std::tm parts = {};
   if (isUtc)
      gmtime_r(&seconds, &parts);
   else
      localtime_r(&seconds, &parts);
   std::array<char, 64> text;
   const std::size_t length =
      isUtc ? std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S", &parts)
            : std::strftime(text.data(), text.size(), "%H:%M:%S", &parts);
   std::snprintf(text.data() + length, text.size() - length, ".%03d", static_cast<int>(part));
   return text.data();
}

} // namespace

std::string utcText(std::chrono::system_clock::time_point moment)
{
   return timeText(moment, true) + "Z";
}

std::string timeOfDayText(std::chrono::system_clock::time_point moment)
{
   return timeText(moment, false);
}

Output::Output(bool asJson)
   : asJson_(asJson)
   , hasColour_(!asJson && takesColour())
   , showsProgress_(isTerminal(2))
{
   std::string codeSet;
   if ((isTerminal(1) || isTerminal(2)) && !terminalTakesUtf8(codeSet)) narrowCodeSet_ = codeSet;
}

std::string Output::fit(const std::string& text)
{
   const bool isNarrow = !narrowCodeSet_.empty();
   const bool isCut = isNarrow && std::any_of(text.begin(), text.end(), [](char c) {
                         return static_cast<unsigned char>(c) >= 0x80;
                      });
   if (isCut && !narrowWasTold_) {
      narrowWasTold_ = true;
      message("this terminal shows " + narrowCodeSet_ +
              " and not UTF-8; characters beyond ASCII come as \\u{NUMBER}");
   }
   return shown(text, isNarrow);
}

void Output::line(const std::vector<Part>& parts)
{
   std::string text;
   for (const Part& part : parts) {
      const bool isColoured = hasColour_ && part.colour != Colour::kNone;
      if (isColoured) text += kEscapes[static_cast<std::size_t>(part.colour)];
      text += fit(part.text);
      if (isColoured) text += kEscapes[0];
   }
   pending_ += text + '\n';
}

void Output::table(const std::vector<std::vector<std::string>>& rows)
{
   std::vector<std::size_t> widths;
   for (const auto& row : rows) {
      widths.resize(std::max(widths.size(), row.size()));
      for (std::size_t i = 0; i < row.size(); ++i)
         widths[i] = std::max(widths[i], columnsOf(shown(row[i])));
   }
   for (const auto& row : rows) {
      std::string text;
      for (std::size_t i = 0; i < row.size(); ++i)
         text += i + 1 < row.size() ? padded(shown(row[i]), widths[i] + 2) : shown(row[i]);
      line(text);
   }
}

void Output::document(const Json& document)
{
   pending_ += document.dump(-1, ' ', false, Json::error_handler_t::replace) + '\n';
}

void Output::flush()
{
   endProgress();
   const std::string text = std::move(pending_);
   pending_.clear();
   errno = 0;
   const bool isWritten =
      std::fwrite(text.data(), 1, text.size(), stdout) == text.size() && std::fflush(stdout) == 0;
   if (isWritten) return;
   if (errno == EPIPE) throw ReaderGone();
   throw Failure(kFailed, std::string("standard output cannot be written: ") +
                             std::generic_category().message(errno));
}

void Output::message(const std::string& text)
{
   endProgress();
   std::string result;
   std::size_t begin = 0;
   while (begin <= text.size()) {
      const std::size_t end = std::min(text.find('\n', begin), text.size());
      result += fit(text.substr(begin, end - begin)) + '\n';
      begin = end + 1;
   }
   std::cerr << "zerovactl: " + result << std::flush;
}

void Output::progress(const std::string& text)
{
   if (!showsProgress_) return;
   std::cerr << "\r\x1b[K" + shown(text, !narrowCodeSet_.empty()) << std::flush;
   hasProgress_ = true;
}

void Output::endProgress()
{
   if (hasProgress_) std::cerr << "\r\x1b[K" << std::flush;
   hasProgress_ = false;
}

} // namespace zerovactl
