// The folders that every machine has, as UTF-16 text.
#ifndef PLATFORM_STANDARD_FOLDERS_H
#define PLATFORM_STANDARD_FOLDERS_H

#include <cstddef>
#include <cstdint>

namespace platform {

// The folder for the data of all users' programs.
constexpr int32_t kCommonDataFolder = 35;

constexpr size_t kFolderPathUnits = 260;

// Writes the path of a folder, terminated, to kFolderPathUnits units at path. Returns 0, or the
// system's number for the failure, as for a folderId that it does not know.
int32_t folderPath(int32_t folderId, uint16_t* path);

// Writes the path of the folder for temporary files, terminated, if it fits into length units.
// Returns the units of the path without the terminator; if they do not fit, the length that is
// needed, which is above the one given; 0 on failure.
size_t temporaryFolder(uint16_t* path, size_t length);

} // namespace platform

#endif
