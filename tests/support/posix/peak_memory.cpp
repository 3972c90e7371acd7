#include "support/peak_memory.h"

#include <fstream>
#include <stdexcept>
#include <string>

std::size_t zerova::test::peakMemory()
{
   std::ifstream status("/proc/self/status");
   for (std::string word; status >> word;)
      if (word == "VmHWM:") {
         std::size_t kilobytes = 0;
         status >> kilobytes;
         return kilobytes * 1024;
      }
   throw std::runtime_error("the system does not tell the most memory in use");
}
