#include "support/memory_limit.h"

#include <cstdio>
#include <stdexcept>
#include <sys/resource.h>
#include <unistd.h>

namespace zerova::test {

namespace {

size_t mapped()
{
   size_t pages = 0;
   FILE* const file = std::fopen("/proc/self/statm", "r");
   const bool isRead = file && std::fscanf(file, "%zu", &pages) == 1; // NOLINT(cert-err34-c)
   if (file) std::fclose(file);
   if (!isRead) throw std::runtime_error("/proc/self/statm cannot be read");
   return pages * static_cast<size_t>(sysconf(_SC_PAGESIZE));
}

} // namespace

struct MemoryLimit::Bound
{
   explicit Bound(size_t room)
   {
      getrlimit(RLIMIT_AS, &usual);
      rlimit bounded = usual;
      bounded.rlim_cur = mapped() + room;
      if (setrlimit(RLIMIT_AS, &bounded) != 0) throw std::runtime_error("no limit of memory");
   }
   Bound(const Bound&) = delete;
   Bound& operator=(const Bound&) = delete;
   ~Bound() { setrlimit(RLIMIT_AS, &usual); }

   rlimit usual = {};
};

MemoryLimit::MemoryLimit(size_t room)
   : bound_(std::make_unique<Bound>(room))
{
}

MemoryLimit::~MemoryLimit() = default;

} // namespace zerova::test
