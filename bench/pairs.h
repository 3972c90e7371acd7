// Two things measured in turns, so that what disturbs the machine disturbs both.
#ifndef BENCH_PAIRS_H
#define BENCH_PAIRS_H

#include <utility>
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

// What sample(action) gives for the two, once in each of the rounds. Each side goes first in every
// second round: what one leaves in the heap and the caches, the other meets.
template <typename Sample, typename Ours, typename Reference>
Pairs takeInTurns(int rounds, Sample sample, Ours ours, Reference reference)
{
   Pairs pairs;
   ours();
   reference();
   for (int round = 0; round < rounds; ++round) {
      if (round % 2 == 0) pairs.ours.push_back(sample(ours));
      pairs.reference.push_back(sample(reference));
      if (round % 2 != 0) pairs.ours.push_back(sample(ours));
   }
   return pairs;
}

// What one of repeats calls takes, in microseconds by the clock.
template <typename Clock, typename Ours, typename Reference>
Pairs measureInTurns(int rounds, int repeats, Clock clock, Ours ours, Reference reference)
{
   const auto sample = [&](auto& action) {
      const double start = clock();
      for (int i = 0; i < repeats; ++i)
         action();
      return (clock() - start) / 1000 / repeats;
   };
   return takeInTurns(rounds, sample, ours, reference);
}

// What the middle one of repeats calls takes, in microseconds: for calls to another core, of which
// some wait long for what else the machine does.
template <typename Ours, typename Reference>
Pairs measureMiddlesInTurns(int rounds, int repeats, Ours ours, Reference reference)
{
   const auto sample = [&](auto& action) {
      std::vector<double> calls;
      for (int i = 0; i < repeats; ++i) {
         const double start = now();
         action();
         calls.push_back((now() - start) / 1000);
      }
      return median(std::move(calls));
   };
   return takeInTurns(rounds, sample, ours, reference);
}

} // namespace bench

#endif
