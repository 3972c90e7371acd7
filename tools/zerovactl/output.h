// What a command prints: results on standard output, all else on standard error.
#ifndef TOOLS_ZEROVACTL_OUTPUT_H
#define TOOLS_ZEROVACTL_OUTPUT_H

#include "tools/zerovactl/failure.h"

#include <nlohmann/json.hpp>

#include <chrono>
#include <string>
#include <vector>

namespace zerovactl {

using Json = nlohmann::ordered_json;

enum class Colour
{
   kNone,
   kGood,
   kBad,
   kFaint
};

struct Part
{
   std::string text;
   Colour colour = Colour::kNone;
};

// Made once, before anything is printed.
class Output
{
public:
   explicit Output(bool asJson);

   bool asJson() const { return asJson_; }

   // A line of text, to be printed as it is but for what a terminal must not get. Colours are left
   // out where the terminal shows none.
   void line(const std::vector<Part>& parts);
   void line(const std::string& text) { line(std::vector<Part>{{text}}); }
   // Lines of our own.
   void text(const std::string& text) { pending_ += text; }
   // A table with the widths that its cells need. The first row is the heading.
   void table(const std::vector<std::vector<std::string>>& rows);
   // One JSON document in one line.
   void document(const Json& document);

   // Hands on what was printed. Throws ReaderGone, or Failure where it cannot be written.
   void flush();

   // A message on standard error, behind the program's name.
   void message(const std::string& text);
   // Tells a failure, on standard output too where a document is wanted.
   void failure(const Failure& failure);
   // A line on the terminal of standard error that the next one replaces; nothing elsewhere.
   void progress(const std::string& text);
   void endProgress();

private:
   std::string fit(const std::string& text);
   // Whoever should read it may have gone; nobody is left to be told.
   static void tell(const std::string& text);

   bool asJson_;
   bool hasColour_;
   bool showsProgress_;
   bool hasProgress_ = false;
   std::string narrowCodeSet_; // of a terminal that does not take UTF-8
   bool narrowWasTold_ = false;
   std::string pending_;
};

// What stands in place of a result with --json.
Json failureDocument(const Failure& failure);

// A moment as in "2026-11-21T13:36:03.120Z", and its time of day here.
std::string utcText(std::chrono::system_clock::time_point moment);
std::string timeOfDayText(std::chrono::system_clock::time_point moment);

} // namespace zerovactl

#endif
