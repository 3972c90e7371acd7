#include "tools/zerovactl/output.h"

#include "tools/zerovactl/shown_text.h"
#include "tools/zerovactl/system.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <utility>

namespace zerovactl {

namespace {

constexpr std::array<const char*, 4> kEscapes = {"\x1b[0m", "\x1b[32m", "\x1b[31m", "\x1b[2m"};

bool isSet(const char* variable)
{
   const char* const value = std::getenv(variable);
   return value && *value;
}

std::tm utcTime(std::chrono::sys_seconds moment)
{
   const auto day = std::chrono::floor<std::chrono::days>(moment);
   const std::chrono::year_month_day date(day);
   const std::chrono::hh_mm_ss time(moment - day);
   std::tm parts = {};
   parts.tm_year = int(date.year()) - 1900;
   parts.tm_mon = int(unsigned(date.month())) - 1;
   parts.tm_mday = int(unsigned(date.day()));
   parts.tm_hour = static_cast<int>(time.hours().count());
   parts.tm_min = static_cast<int>(time.minutes().count());
   parts.tm_sec = static_cast<int>(time.seconds().count());
   return parts;
}

std::string timeText(std::chrono::system_clock::time_point moment, bool isUtc)
{
   const auto whole = std::chrono::floor<std::chrono::seconds>(moment);
   const auto part = std::chrono::floor<std::chrono::milliseconds>(moment - whole);
   const std::time_t seconds = std::chrono::system_clock::to_time_t(whole);
   const std::tm parts = isUtc ? utcTime(whole) : localTime(seconds);
   std::array<char, 64> text;
   const std::size_t length =
      isUtc ? std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S", &parts)
            : std::strftime(text.data(), text.size(), "%H:%M:%S", &parts);
   std::snprintf(text.data() + length, text.size() - length, ".%03d",
                 static_cast<int>(part.count()));
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
   , hasColour_(!asJson && !isSet("NO_COLOR") && takesEscapes(Stream::kOutput))
   , showsProgress_(takesEscapes(Stream::kError))
{
   std::string codeSet;
   if ((isTerminal(Stream::kOutput) || isTerminal(Stream::kError)) && !terminalTakesUtf8(codeSet))
      narrowCodeSet_ = codeSet;
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
         widths[i] = std::max(widths[i], widthFor(shown(row[i])));
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
   std::string failure;
   switch (writeTo(Stream::kOutput, text, failure)) {
   case Writing::kDone:
      return;
   case Writing::kReaderGone:
      throw ReaderGone();
   case Writing::kFailed:
      throw Failure(kFailed, "standard output cannot be written: " + failure);
   }
}

void Output::tell(const std::string& text)
{
   std::string failure;
   writeTo(Stream::kError, text, failure);
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
   tell("zerovactl: " + result);
}

void Output::failure(const Failure& failure)
{
   message(failure.what());
   if (!asJson_) return;
   pending_.clear(); // of a result that is not whole
   document(failureDocument(failure));
   try {
      flush();
   } catch (const ReaderGone&) {
      return;
   } catch (const Failure&) {
      return; // what was told on standard error is all that can be told
   }
}

Json failureDocument(const Failure& failure)
{
   Json members = {{"status", static_cast<int>(failure.exitStatus)}};
   if (failure.code) members["code"] = *failure.code;
   members["text"] = failure.what();
   return {{"failure", members}};
}

void Output::progress(const std::string& text)
{
   if (!showsProgress_) return;
   tell("\r\x1b[K" + shown(text, !narrowCodeSet_.empty()));
   hasProgress_ = true;
}

void Output::endProgress()
{
   if (hasProgress_) tell("\r\x1b[K");
   hasProgress_ = false;
}

} // namespace zerovactl
