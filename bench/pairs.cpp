#include "bench/pairs.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstddef>

namespace bench {

Interval intervalOfRatio(const Pairs& pairs)
{
   std::vector<double> ratios;
   for (size_t i = 0; i < pairs.ours.size(); ++i)
      ratios.push_back(pairs.ours[i] / pairs.reference[i]);
   std::sort(ratios.begin(), ratios.end());
   // How many samples lie below the true median is binomial, whatever their distribution: 1.96 is its
   // 95 % in standard deviations, which are half the root of the count.
   const auto count = static_cast<double>(ratios.size());
   const double reach = 0.98 * std::sqrt(count);
   const auto low = static_cast<size_t>(std::max(0.0, std::floor(count / 2 - reach)));
   const auto high = static_cast<size_t>(std::min(count - 1, std::ceil(count / 2 + reach)));
   return {ratios[low], ratios[high]};
}

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

} // namespace bench
