// Counted by trying the numbers, which the system gives from the lowest on. The system's table of all
// handles is not asked for: where it is asked while another program begins and has none yet, Wine's
// server reads past the end of that one's and dies, and programs that wait then wait for ever.
#include "support/open_descriptors.h"

#include <cstdint>
#include <io.h>
#include <windows.h>

namespace {

constexpr std::uintptr_t kStep = 4; // between two numbers of handles
constexpr std::uintptr_t kLargestGap = 128 * kStep;

bool isOpen(std::uintptr_t handle)
{
   DWORD flags = 0;
   return GetHandleInformation(reinterpret_cast<HANDLE>(handle), &flags) != FALSE;
}

// Has the system make what it makes once for a process and keeps.
bool begin()
{
   for (const unsigned view : {KEY_WOW64_64KEY + 0U, KEY_WOW64_32KEY + 0U}) {
      HKEY key = nullptr;
      if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"SOFTWARE", 0, KEY_READ | view, &key) == ERROR_SUCCESS)
         RegCloseKey(key);
   }
   return true;
}

} // namespace

const size_t kOpenForThreads = 64;

size_t openDescriptors()
{
   static const bool hasBegun = begin();
   static_cast<void>(hasBegun);
   const DWORD failure = GetLastError();
   size_t count = 0;
   std::uintptr_t last = 0;
   for (std::uintptr_t handle = kStep; handle <= last + kLargestGap; handle += kStep) {
      if (!isOpen(handle)) continue;
      ++count;
      last = handle;
   }
   SetLastError(failure);
   return count;
}

bool isStandardStreamOpen(int number)
{
   return isOpen(static_cast<std::uintptr_t>(_get_osfhandle(number)));
}
