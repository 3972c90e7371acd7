// What the compiler's runtime keeps of threads, so that nothing of it outlives the library.
//
// Its own way to the threads' variables of C++ makes a lock, of two handles, that it never lets go of,
// and allocates at a thread's first use of one. It notes each thread that has run what is run once for
// all, with two more, and forgets it when the thread ends, but not when the library goes before that.
// This is for the DLL alone: a program that the code is linked into has variables of its own.
#include "platform/windows/thread_block.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <exception>

extern "C" {
// What the runtime has the system call when a thread ends.
extern const PIMAGE_TLS_CALLBACK __xl_f;
}

namespace {

// Of the variables that are linked in there are two, a pointer each, zero at first.
struct Room
{
   alignas(16) char bytes[64];
};
PLATFORM_OF_EACH_THREAD Room ofTemplate = {};

SRWLOCK placing = SRWLOCK_INIT;
std::uintptr_t used = 0;

// A variable, as the compiler lays out what it knows of one.
struct Variable
{
   std::size_t size;
   std::size_t alignment;
   std::atomic<std::uintptr_t> place; // counted from 1; 0: it has none yet
   const void* firstValue;            // null for zeroes
};

std::uintptr_t placeOf(Variable& variable)
{
   constexpr std::size_t kUnit = 16;
   if (const std::uintptr_t place = variable.place.load(std::memory_order_acquire)) return place;
   AcquireSRWLockExclusive(&placing);
   if (variable.place.load(std::memory_order_relaxed) == 0) {
      const std::size_t size = (variable.size + kUnit - 1) / kUnit * kUnit;
      if (used + size > sizeof(Room) || variable.alignment > kUnit || variable.firstValue)
         std::terminate();
      variable.place.store(used + 1, std::memory_order_release);
      used += size;
   }
   ReleaseSRWLockExclusive(&placing);
   return variable.place.load(std::memory_order_relaxed);
}

// At the end of the process the other threads are gone by then, with the locks that they had.
bool isProcessEnding = false;

// The thread that unloads the library has mostly used it.
struct AtUnload
{
   ~AtUnload()
   {
      if (!isProcessEnding) __xl_f(nullptr, DLL_THREAD_DETACH, nullptr);
   }
};
const AtUnload atUnload;

} // namespace

// Called by the runtime before what is static is destroyed.
extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, void* process)
{
   if (reason == DLL_PROCESS_DETACH) isProcessEnding = process != nullptr;
   return TRUE;
}

extern "C" void* __emutls_get_address(Variable* variable)
{
   return platform::ofThisThread(ofTemplate).bytes + (placeOf(*variable) - 1);
}
