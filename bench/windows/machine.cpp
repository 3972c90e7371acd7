#include "bench/machine.h"

#include "bench/pairs.h"

#include <windows.h>

#include <cstdio>
#include <cstdlib>

namespace bench {

namespace {

[[noreturn]] void fail(const char* what)
{
   std::fprintf(stderr, "%s: error %lu\n", what, GetLastError());
   std::exit(1);
}

} // namespace

void* openLibrary(const char* file)
{
   const HMODULE library = LoadLibraryA(file);
   if (!library) fail(file);
   return reinterpret_cast<void*>(library);
}

void* findFunction(void* library, const char* name)
{
   return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(library), name));
}

std::optional<size_t> heapBytes()
{
   return std::nullopt;
}

void keepFreedMemory() {}

void pinToCore(int core)
{
   if (SetThreadAffinityMask(GetCurrentThread(), DWORD_PTR{1} << core) == 0)
      fail("pinning to a core");
}

// The time of a thread is told in steps of the system's clock, which are longer than what is measured.
double processorTime()
{
   return now();
}

} // namespace bench
