// What the compiler's runtime keeps of threads, so that nothing of it outlives the library.
//
// Its own way to the threads' variables of C++ makes a lock, of two handles, that it never lets go of,
// and allocates at a thread's first use of one. It notes each thread that has once run something, with
// two more, and forgets it when the thread ends, but not when the library goes before that.
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <exception>

#include <windows.h>

extern "C" {
// As exception_memory.cpp tells of them.
extern ULONG _tls_index;
extern char _tls_start[];

// What the runtime has the system call when a thread ends.
extern const PIMAGE_TLS_CALLBACK __xl_f;
}

namespace {

// Of the variables that are linked in there are two, a pointer each, zero at first.
constexpr std::size_t kBytes = 64;
[[gnu::section(".tls$ZEROVA")]] alignas(16) char ofTemplate[kBytes] = {};

std::atomic<std::uintptr_t> used = 0;

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
   std::uintptr_t place = variable.place.load(std::memory_order_acquire);
   if (place != 0) return place;
   const std::size_t size = (variable.size + kUnit - 1) / kUnit * kUnit;
   const std::uintptr_t taken = used.fetch_add(size);
   if (taken + size > kBytes || variable.alignment > kUnit || variable.firstValue) std::terminate();
   // Of two threads that come at once the second one's place stays unused.
   return variable.place.compare_exchange_strong(place, taken + 1) ? taken + 1 : place;
}

// The thread that unloads the library has mostly used it.
struct AtUnload
{
   ~AtUnload() { __xl_f(nullptr, DLL_THREAD_DETACH, nullptr); }
};
const AtUnload atUnload;

} // namespace

extern "C" void* __emutls_get_address(Variable* variable)
{
   char** blocks; // the thread's, one for each program or library
   asm("movq %%gs:0x58, %0" : "=r"(blocks));
   return blocks[_tls_index] + (ofTemplate - _tls_start) + (placeOf(*variable) - 1);
}
