// Counted by trying the numbers, which the system gives from the lowest on. The system's table of all
// handles is not asked for: where it is asked while another program begins and has none yet, Wine's
// server reads past the end of that one's and dies, and programs that wait then wait for ever.
#include "support/open_descriptors.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <vector>

#include <io.h>
#include <windows.h>

namespace {

constexpr std::uintptr_t kStep = 4; // between two numbers of handles
constexpr std::uintptr_t kLargestGap = 128 * kStep;

std::optional<DWORD> flagsOf(std::uintptr_t handle)
{
   DWORD flags = 0;
   if (!GetHandleInformation(reinterpret_cast<HANDLE>(handle), &flags)) return {};
   return flags;
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

// The flags of each handle that is open.
std::vector<DWORD> ownHandles()
{
   static const bool hasBegun = begin();
   static_cast<void>(hasBegun);
   const DWORD failure = GetLastError();
   std::vector<DWORD> handles;
   std::uintptr_t last = 0;
   for (std::uintptr_t handle = kStep; handle <= last + kLargestGap; handle += kStep) {
      const std::optional<DWORD> flags = flagsOf(handle);
      if (!flags) continue;
      handles.push_back(*flags);
      last = handle;
   }
   SetLastError(failure);
   return handles;
}

} // namespace

const size_t kOpenForThreads = 64;

size_t openDescriptors()
{
   return ownHandles().size();
}

size_t inheritedDescriptors()
{
   const std::vector<DWORD> handles = ownHandles();
   return static_cast<size_t>(std::count_if(handles.begin(), handles.end(), [](DWORD flags) {
      return (flags & HANDLE_FLAG_INHERIT) != 0;
   }));
}

bool isStandardStreamOpen(int number)
{
   return flagsOf(static_cast<std::uintptr_t>(_get_osfhandle(number))).has_value();
}
