// Bounds the memory of the process. A sanitizer's own memory is beyond any such bound, so this is for
// tests that run without one.
#ifndef TESTS_SUPPORT_MEMORY_LIMIT_H
#define TESTS_SUPPORT_MEMORY_LIMIT_H

#include <cstddef>
#include <cstdio>
#include <stdexcept>
#include <sys/resource.h>
#include <unistd.h>

namespace zerova::test {

// As long as it lives the process can have that many bytes more than it had when it began.
class MemoryLimit
{
public:
   explicit MemoryLimit(size_t room)
   {
      getrlimit(RLIMIT_AS, &usual_);
      rlimit bounded = usual_;
      bounded.rlim_cur = mapped() + room;
      if (setrlimit(RLIMIT_AS, &bounded) != 0) throw std::runtime_error("no limit of memory");
   }
   MemoryLimit(const MemoryLimit&) = delete;
   MemoryLimit& operator=(const MemoryLimit&) = delete;
   ~MemoryLimit() { setrlimit(RLIMIT_AS, &usual_); }

private:
   static size_t mapped()
   {
      size_t pages = 0;
      FILE* const file = std::fopen("/proc/self/statm", "r");
      const bool isRead = file && std::fscanf(file, "%zu", &pages) == 1; // NOLINT(cert-err34-c)
      if (file) std::fclose(file);
      if (!isRead) throw std::runtime_error("/proc/self/statm cannot be read");
      return pages * static_cast<size_t>(sysconf(_SC_PAGESIZE));
   }

   rlimit usual_ = {};
};

} // namespace zerova::test

#endif
