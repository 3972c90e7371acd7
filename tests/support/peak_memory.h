// The most memory that this process has had in use at once.
#ifndef TESTS_SUPPORT_PEAK_MEMORY_H
#define TESTS_SUPPORT_PEAK_MEMORY_H

#include <cstddef>

namespace zerova::test {

// In bytes. Throws if the system does not tell.
std::size_t peakMemory();

} // namespace zerova::test

#endif
