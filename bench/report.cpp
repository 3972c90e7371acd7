#include "bench/report.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace bench {

namespace {

constexpr const char* kRow = "%-58s %12s %12s %-6s %8s %13s %9s %s\n";

bool isMet(double value, Goal goal)
{
   switch (goal.kind) {
   case Goal::Kind::atMost:
      return value <= goal.bound;
   case Goal::Kind::atLeast:
      return value >= goal.bound;
   case Goal::Kind::none:
      return true;
   }
   return false;
}

std::string number(double value)
{
   char text[40];
   std::snprintf(text, sizeof text, value >= 1000 ? "%.0f" : "%.3f", value);
   return text;
}

const char* verdict(double judged, const Interval* interval, Goal goal)
{
   if (goal.kind == Goal::Kind::none) return "-";
   if (isMet(judged, goal)) return "yes";
   const bool isWithinNoise =
      interval && isMet(goal.kind == Goal::Kind::atMost ? interval->low : interval->high, goal);
   return isWithinNoise ? "noise" : "NO";
}

std::string goalText(Goal goal)
{
   if (goal.kind == Goal::Kind::none) return "-";
   return (goal.kind == Goal::Kind::atMost ? "<= " : ">= ") + number(goal.bound);
}

} // namespace

Report::Report(const char* program, int argc, char** argv)
   : program_(program)
{
   if (argc == 3 && std::strcmp(argv[1], "--json") == 0) {
      jsonFile_ = argv[2];
   } else if (argc != 1) {
      std::fprintf(stderr, "usage: %s [--json FILE]\n", program);
      std::exit(2);
   }
   std::printf(kRow, program, "ours", "reference", "unit", "ratio", "95 %", "goal", "met");
}

void Report::compare(const std::string& what, const Pairs& pairs, const char* unit, Goal goal)
{
   const double reference = median(pairs.reference);
   const Interval interval = intervalOfRatio(pairs);
   row(what, median(pairs.ours), &reference, &interval, unit, goal);
}

void Report::compare(const std::string& what, double ours, double reference, const char* unit,
                     Goal goal)
{
   row(what, ours, &reference, nullptr, unit, goal);
}

void Report::figure(const std::string& what, double value, const char* unit, Goal goal)
{
   row(what, value, nullptr, nullptr, unit, goal);
}

void Report::row(const std::string& what, double ours, const double* reference,
                 const Interval* interval, const char* unit, Goal goal)
{
   const double judged = reference ? ours / *reference : ours;
   const char* const met = verdict(judged, interval, goal);
   const std::string referenceText = reference ? number(*reference) : "-";
   const std::string ratioText = reference ? number(judged) : "-";
   const std::string intervalText =
      interval ? number(interval->low) + "-" + number(interval->high) : "-";
   std::printf(kRow, what.c_str(), number(ours).c_str(), referenceText.c_str(), unit,
               ratioText.c_str(), intervalText.c_str(), goalText(goal).c_str(), met);
   std::fflush(stdout);
   if (jsonFile_.empty()) return;

   std::FILE* const file = std::fopen(jsonFile_.c_str(), "a");
   if (!file) {
      jsonFailed_ = true;
      return;
   }
   // The names are ours and hold nothing that JSON would have escaped.
   std::fprintf(file, R"({"program":"%s","what":"%s","ours":%.6g,"unit":"%s")", program_.c_str(),
                what.c_str(), ours, unit);
   if (reference) std::fprintf(file, R"(,"reference":%.6g,"ratio":%.6g)", *reference, judged);
   if (interval) std::fprintf(file, R"(,"interval":[%.6g,%.6g])", interval->low, interval->high);
   if (goal.kind != Goal::Kind::none)
      std::fprintf(file, R"(,"goal":"%s","met":"%s")", goalText(goal).c_str(), met);
   std::fprintf(file, "}\n");
   if (std::fclose(file) != 0) jsonFailed_ = true;
}

int Report::finish() const
{
   if (jsonFailed_)
      std::fprintf(stderr, "%s: cannot write %s\n", program_.c_str(), jsonFile_.c_str());
   return jsonFailed_ ? 1 : 0;
}

} // namespace bench
