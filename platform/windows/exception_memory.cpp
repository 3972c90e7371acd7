// The memory of C++ exceptions, in the place of the runtime's own.
//
// There a thread's first exception allocates, and so does the lock of the reserve for exceptions when
// the heap is out; either ends the process if it gets nothing. So a failure of memory could not be
// told by an exception unless the process had seen one before. Here nothing but the exception itself
// is asked of the heap.
#include "platform/windows/thread_block.h"

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <exception>

#include <cxxabi.h>
#include <unwind.h>

namespace {

// What lies before an exception, which the runtime fills: the unwinder's part behind ten words of
// its own and the count of references.
constexpr std::size_t kHeadBytes = 2 * 8 + 10 * 8 + sizeof(_Unwind_Exception);
static_assert(kHeadBytes == 160);

constexpr std::size_t kReservedBytes = 640;
struct Reserved
{
   alignas(16) char bytes[kReservedBytes];
   std::atomic_flag isTaken;
};
Reserved reserve[32];

void* takeReserved(std::size_t size)
{
   if (size > kReservedBytes) return nullptr;
   for (Reserved& each : reserve)
      if (!each.isTaken.test_and_set()) return each.bytes;
   return nullptr;
}

void* take(std::size_t size)
{
   void* block = std::malloc(size);
   if (!block) block = takeReserved(size);
   if (!block) std::terminate();
   return block;
}

void giveBack(void* block)
{
   for (Reserved& each : reserve) {
      if (block != each.bytes) continue;
      each.isTaken.clear();
      return;
   }
   std::free(block);
}

} // namespace

namespace __cxxabiv1 {

// As the interface of C++ exceptions tells it.
struct __cxa_eh_globals
{
   void* caughtExceptions;
   unsigned int uncaughtExceptions;
};

PLATFORM_OF_EACH_THREAD static __cxa_eh_globals ofTemplate = {nullptr, 0};

extern "C" {

__cxa_eh_globals* __cxa_get_globals() noexcept
{
   return &platform::ofThisThread(ofTemplate);
}

__cxa_eh_globals* __cxa_get_globals_fast() noexcept
{
   return __cxa_get_globals();
}

void* __cxa_allocate_exception(std::size_t size) noexcept
{
   char* const block = static_cast<char*>(take(kHeadBytes + size));
   std::memset(block, 0, kHeadBytes);
   return block + kHeadBytes;
}

void __cxa_free_exception(void* exception) noexcept
{
   giveBack(static_cast<char*>(exception) - kHeadBytes);
}

__cxa_dependent_exception* __cxa_allocate_dependent_exception() noexcept
{
   return static_cast<__cxa_dependent_exception*>(std::memset(take(kHeadBytes), 0, kHeadBytes));
}

void __cxa_free_dependent_exception(__cxa_dependent_exception* exception) noexcept
{
   giveBack(exception);
}

} // extern "C"

} // namespace __cxxabiv1
