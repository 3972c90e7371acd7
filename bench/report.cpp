#include "bench/report.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace bench {

namespace {

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

std::string goalText(Goal goal)
{
   if (goal.kind == Goal::Kind::none) return "-";
   return (goal.kind == Goal::Kind::atMost ? "<= " : ">= ") + number(goal.bound);
}

} // namespace

double median(std::vector<double> samples)
{
   if (samples.empty()) return 0;
   const auto middle = samples.begin() + static_cast<std::ptrdiff_t>(samples.size() / 2);
   std::nth_element(samples.begin(), middle, samples.end());
   return *middle;
}

double now()
{
   const auto time = std::chrono::steady_clock::now().time_since_epoch();
   return static_cast<double>(std::chrono::nanoseconds(time).count());
}

Report::Report(const char* program, int argc, char** argv)
   : program_(program)
{
   if (argc == 3 && std::strcmp(argv[1], "--json") == 0) {
      jsonFile_ = argv[2];
   } else if (argc != 1) {
      std::fprintf(stderr, "usage: %s [--json FILE]\n", program);
      std::exit(2);
   }
   std::printf("%-58s %12s %12s %-6s %8s %9s %s\n", program, "ours", "reference", "unit", "ratio",
               "goal", "met");
}

void Report::compare(const std::string& what, double ours, double reference, const char* unit,
                     Goal goal)
{
   row(what, ours, &reference, unit, goal);
}

void Report::figure(const std::string& what, double value, const char* unit, Goal goal)
{
   row(what, value, nullptr, unit, goal);
}

void Report::row(const std::string& what, double ours, const double* reference, const char* unit,
                 Goal goal)
{
   const double judged = reference ? ours / *reference : ours;
   const char* const met = goal.kind == Goal::Kind::none ? "-" : isMet(judged, goal) ? "yes" : "NO";
   const std::string referenceText = reference ? number(*reference) : "-";
   const std::string ratioText = reference ? number(judged) : "-";
   std::printf("%-58s %12s %12s %-6s %8s %9s %s\n", what.c_str(), number(ours).c_str(),
               referenceText.c_str(), unit, ratioText.c_str(), goalText(goal).c_str(), met);
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
   if (goal.kind != Goal::Kind::none)
      std::fprintf(file, R"(,"goal":"%s","met":%s)", goalText(goal).c_str(),
                   isMet(judged, goal) ? "true" : "false");
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
