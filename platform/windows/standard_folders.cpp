#include "platform/standard_folders.h"

#include <windows.h>

#include <shlobj.h>

namespace platform {

static_assert(kCommonDataFolder == CSIDL_COMMON_APPDATA && kFolderPathUnits == MAX_PATH);

int32_t folderPath(int32_t folderId, uint16_t* path)
{
   return SHGetFolderPathW(nullptr, folderId, nullptr, SHGFP_TYPE_CURRENT,
                           reinterpret_cast<wchar_t*>(path));
}

size_t temporaryFolder(uint16_t* path, size_t length)
{
   return GetTempPathW(static_cast<DWORD>(length), reinterpret_cast<wchar_t*>(path));
}

} // namespace platform
