#include "support/peak_memory.h"

#include <stdexcept>

#include <windows.h>

#include <psapi.h>

std::size_t zerova::test::peakMemory()
{
   PROCESS_MEMORY_COUNTERS counters = {};
   if (!K32GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters) ||
       counters.PeakWorkingSetSize == 0)
      throw std::runtime_error("the system does not tell the most memory in use");
   return counters.PeakWorkingSetSize;
}
