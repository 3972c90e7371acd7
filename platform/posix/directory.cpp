#include "platform/directory.h"

#include "platform/posix/open_path.h"
#include "platform/posix/text_file_stream.h"

#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace platform {

namespace {

bool isRegular(DIR* stream, const dirent& entry)
{
   // No path could lead there, as a path takes the backslash for a separator.
   if (std::strchr(entry.d_name, '\\')) return false;
   if (entry.d_type != DT_UNKNOWN && entry.d_type != DT_LNK) return entry.d_type == DT_REG;
   struct stat state;
   return fstatat(dirfd(stream), entry.d_name, &state, 0) == 0 && S_ISREG(state.st_mode);
}

} // namespace

int openDirectory(const char* path, Directory* directory)
{
   const int descriptor = openPath(path, PathKind::folder);
   if (descriptor < 0) return errno;
   directory->stream = fdopendir(descriptor);
   if (directory->stream) return 0;
   const int failure = errno;
   close(descriptor);
   return failure;
}

bool readEntry(Directory* directory, DirectoryEntry* entry)
{
   DIR* const stream = static_cast<DIR*>(directory->stream);
   const dirent* const found = readdir(stream);
   if (!found) return false;
   const size_t length = strnlen(found->d_name, sizeof entry->name - 1);
   std::memcpy(entry->name, found->d_name, length);
   entry->name[length] = 0;
   entry->isRegular = isRegular(stream, *found);
   return true;
}

int openTextFileIn(const Directory* directory, const char* name, TextFile* file)
{
   const int folder = dirfd(static_cast<DIR*>(directory->stream));
   return streamFrom(openEntry(folder, name, PathKind::regularFile), file);
}

void closeDirectory(Directory* directory)
{
   closedir(static_cast<DIR*>(directory->stream));
   directory->stream = nullptr;
}

} // namespace platform
