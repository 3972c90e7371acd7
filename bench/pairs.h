// Two things measured in turns, so that what disturbs the machine disturbs both.
#ifndef BENCH_PAIRS_H
#define BENCH_PAIRS_H

#include <vector>

namespace bench {

// Samples in one unit; the n-th of ours and the n-th of the reference were taken next to each other.
struct Pairs
{
   std::vector<double> ours;
   std::vector<double> reference;
};

// Bounds between which the middle of the paired ratios lies in 95 of 100 runs.
struct Interval
{
   double low;
   double high;
};
Interval intervalOfRatio(const Pairs& pairs);

double median(std::vector<double> samples);

// Monotonic nanoseconds.
double now();

// Nanoseconds of processor time of this thread, for what only computes: what else runs on the machine
// does not count. Where the system does not tell it finely enough, as now().
double processorTime();

// What one of repeats calls takes, in microseconds by the clock, for each of the rounds. Each side
// goes first in every second round: what one leaves in the heap and the caches, the other meets.
template <typename Clock, typename Ours, typename Reference>
Pairs measureInTurns(int rounds, int repeats, Clock clock, Ours ours, Reference reference)
{
   const auto take = [&](auto& action, std::vector<double>& samples) {
      const double start = clock();
      for (int i = 0; i < repeats; ++i)
         action();
      samples.push_back((clock() - start) / 1000 / repeats);
   };
   Pairs pairs;
   ours();
   reference();
   for (int round = 0; round < rounds; ++round) {
      if (round % 2 == 0) take(ours, pairs.ours);
      take(reference, pairs.reference);
      if (round % 2 != 0) take(ours, pairs.ours);
   }
   return pairs;
}

} // namespace bench

#endif
