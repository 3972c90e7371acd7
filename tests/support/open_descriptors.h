// The descriptors of this process, to see that something leaves none open.
#ifndef TESTS_SUPPORT_OPEN_DESCRIPTORS_H
#define TESTS_SUPPORT_OPEN_DESCRIPTORS_H

#include <cstddef>
#include <filesystem>
#include <iterator>

// Their number. The one that counting needs is in it, always.
inline size_t openDescriptors()
{
   const std::filesystem::directory_iterator listing("/proc/self/fd");
   return static_cast<size_t>(std::distance(begin(listing), end(listing)));
}

#endif
