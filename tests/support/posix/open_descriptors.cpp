#include "support/open_descriptors.h"

#include <algorithm>
#include <fcntl.h>
#include <filesystem>
#include <iterator>
#include <string>

const size_t kOpenForThreads = 0;

// The one that counting needs is in it, always.
size_t openDescriptors()
{
   const std::filesystem::directory_iterator listing("/proc/self/fd");
   return static_cast<size_t>(std::distance(begin(listing), end(listing)));
}

size_t inheritedDescriptors()
{
   const std::filesystem::directory_iterator listing("/proc/self/fd");
   const auto isInherited = [](const std::filesystem::directory_entry& entry) {
      const int flags = fcntl(std::stoi(entry.path().filename()), F_GETFD);
      return flags >= 0 && (flags & FD_CLOEXEC) == 0;
   };
   return static_cast<size_t>(std::count_if(begin(listing), end(listing), isInherited));
}

bool isStandardStreamOpen(int number)
{
   return fcntl(number, F_GETFD) >= 0;
}
