// The settings tree is the registry below the local machine.
#include "platform/settings_tree.h"

#include <windows.h>

namespace platform {

static_assert(kSettingsRead == KEY_READ && kSettingsOf32Bit == KEY_WOW64_32KEY);
static_assert(kMoreData == ERROR_MORE_DATA);

uint32_t openSettingsKey(const uint16_t* path, uint32_t access, SettingsKeyHandle* handle)
{
   HKEY key = nullptr;
   const LSTATUS failure =
      RegOpenKeyExW(HKEY_LOCAL_MACHINE, reinterpret_cast<const wchar_t*>(path), 0, access, &key);
   *handle = reinterpret_cast<SettingsKeyHandle>(key);
   return static_cast<uint32_t>(failure);
}

uint32_t readSettingsValue(SettingsKeyHandle key, const uint16_t* name, uint16_t* units,
                           uint32_t* size)
{
   DWORD bytes = *size;
   const LSTATUS failure =
      RegQueryValueExW(reinterpret_cast<HKEY>(key), reinterpret_cast<const wchar_t*>(name), nullptr,
                       nullptr, reinterpret_cast<BYTE*>(units), &bytes);
   *size = bytes;
   return static_cast<uint32_t>(failure);
}

void closeSettingsKey(SettingsKeyHandle key)
{
   RegCloseKey(reinterpret_cast<HKEY>(key));
}

} // namespace platform
