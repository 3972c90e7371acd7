// How a benchmark tells its figures: one row for each comparison, as a table on standard output
// and, with
// --json FILE on the command line, as one JSON object a line at the end of that file.
//
// The two sides of a comparison are measured in one run, taking turns, and told as medians.
#ifndef BENCH_REPORT_H
#define BENCH_REPORT_H

#include "bench/pairs.h"

#include <string>

namespace bench {

struct Goal
{
   enum class Kind
   {
      atMost,
      atLeast,
      none
   };
   Kind kind;
   double bound;
};

inline Goal atMost(double bound)
{
   return {Goal::Kind::atMost, bound};
}
inline Goal atLeast(double bound)
{
   return {Goal::Kind::atLeast, bound};
}
inline Goal noGoal()
{
   return {Goal::Kind::none, 0};
}

class Report
{
public:
   // Ends the program with a usage text for arguments that it does not know.
   Report(const char* program, int argc, char** argv);

   // The goal is on the ratio of the medians. A row whose interval reaches the goal that its ratio
   // misses is told as missed within the noise.
   void compare(const std::string& what, const Pairs& pairs, const char* unit, Goal goal);

   // ours and reference in the same unit; the goal is on ours / reference.
   void compare(const std::string& what, double ours, double reference, const char* unit,
                Goal goal);

   // A figure with nothing to compare it with; the goal is on the figure itself.
   void figure(const std::string& what, double value, const char* unit, Goal goal);

   // The program's exit code: benchmarks tell, they do not fail, so only a lost file is a failure.
   int finish() const;

private:
   void row(const std::string& what, double ours, const double* reference, const Interval* interval,
            const char* unit, Goal goal);

   std::string program_;
   std::string jsonFile_;
   bool jsonFailed_ = false;
};

} // namespace bench

#endif
