// What a test can learn about the descriptors of its process.
#ifndef TESTS_UNIT_TRANSPORT_DESCRIPTORS_H
#define TESTS_UNIT_TRANSPORT_DESCRIPTORS_H

#include <cstddef>
#include <fcntl.h>
#include <filesystem>
#include <iterator>
#include <unistd.h>

namespace descriptors {

inline size_t countOpen()
{
   const std::filesystem::directory_iterator all("/proc/self/fd");
   return static_cast<size_t>(std::distance(begin(all), end(all)));
}

inline bool isOpen(int descriptor)
{
   return fcntl(descriptor, F_GETFD) >= 0;
}

inline bool closesOnExec(int descriptor)
{
   return (fcntl(descriptor, F_GETFD) & FD_CLOEXEC) != 0;
}

// The number that the next one will have.
inline int next()
{
   const int descriptor = dup(0);
   close(descriptor);
   return descriptor;
}

} // namespace descriptors

#endif
