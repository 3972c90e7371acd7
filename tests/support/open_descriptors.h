// The descriptors of this process, to see that something leaves none open.
#ifndef TESTS_SUPPORT_OPEN_DESCRIPTORS_H
#define TESTS_SUPPORT_OPEN_DESCRIPTORS_H

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <iterator>
#include <thread>

// Their number. The one that counting needs is in it, always.
inline size_t openDescriptors()
{
   const std::filesystem::directory_iterator listing("/proc/self/fd");
   return static_cast<size_t>(std::distance(begin(listing), end(listing)));
}

// Whether there are no more than count, once the servers in other threads have closed theirs.
inline bool descriptorsComeDownTo(size_t count)
{
   const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(30);
   while (openDescriptors() > count) {
      if (std::chrono::steady_clock::now() > limit) return false;
      std::this_thread::yield();
   }
   return true;
}

#endif
