// Variables of each thread, in the memory that the system sets aside for it when the library is loaded
// or the thread starts. The compiler's own would allocate at their first use in a thread, and so may a
// slot of the system.
#ifndef PLATFORM_WINDOWS_THREAD_BLOCK_H
#define PLATFORM_WINDOWS_THREAD_BLOCK_H

#include <cstdint>
#include <windows.h>

extern "C" {
// Of the template of a thread's own memory, as the C runtime lays it out.
extern ULONG _tls_index;
extern char _tls_start[];
}

// Puts a variable into the template. What the linker sorts behind ".tls$ZZZ", which is its end, is set
// aside for no thread.
#define PLATFORM_OF_EACH_THREAD [[gnu::section(".tls$Thread")]]

namespace platform {

// The calling thread's copy of a variable of the template.
template <typename Value>
Value& ofThisThread(const Value& ofTemplate)
{
   char** blocks; // the thread's, one for each program or library
   asm("movq %%gs:0x58, %0" : "=r"(blocks));
   const std::uintptr_t distance =
      reinterpret_cast<std::uintptr_t>(&ofTemplate) - reinterpret_cast<std::uintptr_t>(_tls_start);
   return *reinterpret_cast<Value*>(blocks[_tls_index] + distance);
}

} // namespace platform

#endif
