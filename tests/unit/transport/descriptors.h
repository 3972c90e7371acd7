// What a test can learn about the descriptors of its process.
#ifndef TESTS_UNIT_TRANSPORT_DESCRIPTORS_H
#define TESTS_UNIT_TRANSPORT_DESCRIPTORS_H

#include <cstddef>
#include <fcntl.h>
#include <filesystem>
#include <iterator>
#include <unistd.h>

namespace descriptors {

// A descriptor that is not open has no flag set.

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
   const int flags = fcntl(descriptor, F_GETFD);
   return flags >= 0 && (flags & FD_CLOEXEC) != 0;
}

inline bool isNonBlocking(int descriptor)
{
   const int flags = fcntl(descriptor, F_GETFL);
   return flags >= 0 && (flags & O_NONBLOCK) != 0;
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
