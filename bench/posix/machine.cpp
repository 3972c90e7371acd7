#include "bench/machine.h"

#include "bench/pairs.h"

#include <dlfcn.h>
#include <malloc.h>
#include <sched.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>

namespace bench {

void* openLibrary(const char* file)
{
   void* const library = dlopen(file, RTLD_NOW | RTLD_LOCAL);
   if (library) return library;
   std::fprintf(stderr, "%s\n", dlerror());
   std::exit(1);
}

void* findFunction(void* library, const char* name)
{
   return dlsym(library, name);
}

std::optional<size_t> heapBytes()
{
   const struct mallinfo2 info = mallinfo2();
   return info.uordblks + info.hblkhd;
}

void keepFreedMemory()
{
   mallopt(M_TRIM_THRESHOLD, 1 << 28);
   mallopt(M_MMAP_THRESHOLD, 1 << 28);
}

void pinToCore(int core)
{
   cpu_set_t set;
   CPU_ZERO(&set);
   CPU_SET(static_cast<size_t>(core), &set);
   if (sched_setaffinity(0, sizeof set, &set) == 0) return;
   std::perror("pinning to a core");
   std::exit(1);
}

double processorTime()
{
   timespec time{};
   clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
   return static_cast<double>(time.tv_sec) * 1e9 + static_cast<double>(time.tv_nsec);
}

} // namespace bench
