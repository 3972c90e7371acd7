// Which calls go wrong, and how.
#ifndef TOOLS_SIMULATOR_FAULT_PLAN_H
#define TOOLS_SIMULATOR_FAULT_PLAN_H

#include "tools/simulator/topology.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <string_view>
#include <vector>

namespace zerova::simulator {

// Every fault counts the calls of its method, or all calls, of all connections or of each. Of several
// that are due the first counts.
class FaultPlan
{
public:
   explicit FaultPlan(const std::vector<Fault>& faults)
      : faults_(faults)
      , counts_(faults.size())
   {
   }

   // The fault of this call, null if it goes well. Valid as long as the plan.
   const Fault* next(std::string_view method, std::uint64_t connection)
   {
      const Fault* due = nullptr;
      for (std::size_t i = 0; i < faults_.size(); ++i) {
         const Fault& fault = faults_[i];
         if (!fault.method.empty() && fault.method != method) continue;
         Count& count = counts_[i][fault.isOfEachConnection ? connection : 0];
         if (++count.calls <= fault.after || (fault.times && count.strikes >= *fault.times))
            continue;
         if (due) continue;
         ++count.strikes;
         due = &fault;
      }
      return due;
   }

   // The connection has ended.
   void forget(std::uint64_t connection)
   {
      for (std::size_t i = 0; i < faults_.size(); ++i)
         if (faults_[i].isOfEachConnection) counts_[i].erase(connection);
   }

private:
   struct Count
   {
      std::uint64_t calls = 0;
      std::uint64_t strikes = 0;
   };

   const std::vector<Fault> faults_;
   std::vector<std::map<std::uint64_t, Count>> counts_; // by connection, 0 for all of them
};

} // namespace zerova::simulator

#endif
