// The system has one table of all handles; its count for a process is not kept everywhere.
#include "support/open_descriptors.h"

#include <algorithm>
#include <cstdint>
#include <stdexcept>
#include <vector>

#include <io.h>
#include <windows.h>
#include <winternl.h>

namespace {

// As the system writes them: a head, and a row for each handle of any process.
struct Head
{
   std::uintptr_t count;
   std::uintptr_t reserved;
};

struct Row
{
   void* object;
   std::uintptr_t process;
   std::uintptr_t handle;
   std::uint32_t access;
   std::uint16_t traceIndex;
   std::uint16_t type;
   std::uint32_t attributes;
   std::uint32_t reserved;
};

constexpr ULONG kExtendedHandles = 64;
constexpr auto kTooShort = static_cast<NTSTATUS>(0xC0000004);

using Query = NTSTATUS(NTAPI*)(ULONG, void*, ULONG, ULONG*);

Query query()
{
   const FARPROC found = GetProcAddress(GetModuleHandleA("ntdll.dll"), "NtQuerySystemInformation");
   return reinterpret_cast<Query>(reinterpret_cast<void*>(found));
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

std::vector<HANDLE> ownHandles()
{
   static const Query ask = query();
   static const bool hasBegun = begin();
   static_cast<void>(hasBegun);
   std::vector<char> bytes(sizeof(Head) + 1024 * sizeof(Row));
   NTSTATUS answer = kTooShort;
   while (answer == kTooShort) {
      answer = ask(kExtendedHandles, bytes.data(), static_cast<ULONG>(bytes.size()), nullptr);
      if (answer == kTooShort) bytes.resize(2 * bytes.size());
   }
   if (answer != 0) throw std::runtime_error("the system tells no handles");
   const auto* const head = reinterpret_cast<const Head*>(bytes.data());
   const auto* const rows = reinterpret_cast<const Row*>(head + 1);
   std::vector<HANDLE> handles;
   for (std::uintptr_t i = 0; i < head->count; ++i)
      if (rows[i].process == GetCurrentProcessId())
         handles.push_back(reinterpret_cast<HANDLE>(rows[i].handle));
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
   const std::vector<HANDLE> handles = ownHandles();
   return static_cast<size_t>(std::count_if(handles.begin(), handles.end(), [](HANDLE handle) {
      DWORD flags = 0;
      return GetHandleInformation(handle, &flags) && (flags & HANDLE_FLAG_INHERIT);
   }));
}

bool isStandardStreamOpen(int number)
{
   DWORD flags = 0;
   return GetHandleInformation(reinterpret_cast<HANDLE>(_get_osfhandle(number)), &flags) != FALSE;
}
