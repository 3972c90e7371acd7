// Which calls go wrong, and how.
#ifndef TOOLS_SIMULATOR_FAULT_PLAN_H
#define TOOLS_SIMULATOR_FAULT_PLAN_H

#include "tools/simulator/topology.h"

#include <cstdint>
#include <string_view>
#include <vector>

namespace zerova::simulator {

// Every fault counts the calls of its method, or all calls, of all connections. Of several that are due
// the first counts.
class FaultPlan
{
public:
   explicit FaultPlan(const std::vector<Fault>& faults)
      : faults_(faults)
      , calls_(faults.size())
      , strikes_(faults.size())
   {
   }

   // The fault of this call, null if it goes well. Valid as long as the plan.
   const Fault* next(std::string_view method)
   {
      const Fault* due = nullptr;
      for (std::size_t i = 0; i < faults_.size(); ++i) {
         const Fault& fault = faults_[i];
         if (!fault.method.empty() && fault.method != method) continue;
         if (++calls_[i] <= fault.after || (fault.times && strikes_[i] >= *fault.times)) continue;
         if (due) continue;
         ++strikes_[i];
         due = &fault;
      }
      return due;
   }

private:
   const std::vector<Fault> faults_;
   std::vector<std::uint64_t> calls_;
   std::vector<std::uint64_t> strikes_;
};

} // namespace zerova::simulator

#endif
