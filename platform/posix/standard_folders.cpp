#include "platform/standard_folders.h"

#include "platform/posix/unicode.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace platform {

int32_t folderPath(int32_t folderId, uint16_t* path)
{
   if (folderId != kCommonDataFolder) return EINVAL;
   Utf16Output output{path, kFolderPathUnits, 0};
   constexpr std::string_view kFolder = "/var/lib";
   output.putUtf8(kFolder.data(), kFolder.data() + kFolder.size());
   output.putUnit(0);
   return 0;
}

size_t temporaryFolder(uint16_t* path, size_t length)
{
   const char* folder = std::getenv("TMPDIR");
   if (!folder || *folder != '/') folder = "/tmp";
   // The logic cuts backslashes alone, and wants every path to go on with one separator.
   const char* end = folder + std::strlen(folder);
   while (end - folder > 1 && end[-1] == '/')
      --end;
   Utf16Output output{path, length, 0};
   output.putUtf8(folder, end);
   output.putUnit(0);
   return output.length <= length ? output.length - 1 : output.length;
}

} // namespace platform
