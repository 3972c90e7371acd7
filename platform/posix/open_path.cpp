#include "platform/posix/open_path.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace platform {

namespace {

// What opens a folder to look further in it; the right to list it is not needed.
constexpr int kPassFlags = O_PATH | O_DIRECTORY | O_CLOEXEC;
constexpr int kListFlags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;
// Non-blocking for the FIFO that has taken the place of a regular file, which it does nothing to.
constexpr int kReadFlags = O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;

unsigned char folded(char c)
{
   const auto byte = static_cast<unsigned char>(c);
   return byte >= 'A' && byte <= 'Z' ? static_cast<unsigned char>(byte | 0x20) : byte;
}

bool equalsIgnoringCase(const char* a, const char* b)
{
   while (*a && folded(*a) == folded(*b)) {
      ++a;
      ++b;
   }
   return folded(*a) == folded(*b);
}

// Writes the entry of folder that stands for name, which could not be opened as it is written.
bool findIgnoringCase(int folder, const char* name, char (&found)[NAME_MAX + 1])
{
   const int descriptor = openat(folder, ".", kListFlags);
   if (descriptor < 0) return false;
   DIR* const listing = fdopendir(descriptor);
   if (!listing) {
      close(descriptor);
      return false;
   }
   found[0] = 0;
   while (const dirent* const entry = readdir(listing)) {
      // Some file systems have longer names than found has room for.
      const size_t length = std::strlen(entry->d_name);
      if (length > NAME_MAX || !equalsIgnoringCase(entry->d_name, name)) continue;
      // A link to nothing has the name, and that nothing is behind it is the answer.
      if (std::strcmp(entry->d_name, name) == 0) {
         found[0] = 0;
         break;
      }
      if (!found[0] || std::strcmp(entry->d_name, found) < 0)
         std::memcpy(found, entry->d_name, length + 1);
   }
   closedir(listing);
   return found[0] != 0;
}

// Calls open(name) for an entry of folder, and again for the one that stands for it if name is not
// there as it is written.
template <typename Open>
int openIgnoringCase(int folder, const char* name, Open open)
{
   const int descriptor = open(name);
   if (descriptor >= 0 || errno != ENOENT) return descriptor;
   char found[NAME_MAX + 1];
   if (findIgnoringCase(folder, name, found)) return open(found);
   errno = ENOENT;
   return -1;
}

// The next component of path, whose separator it cuts off; null if there is none left.
char* nextComponent(char** path)
{
   while (**path == '/')
      ++*path;
   return **path ? strsep(path, "/") : nullptr;
}

int openByComponents(char* path, PathKind kind)
{
   char end[] = "";
   int folder = open(*path == '/' ? "/" : ".", kPassFlags);
   char* name = nextComponent(&path);
   while (folder >= 0 && name) {
      if (!path) path = end;
      char* const next = nextComponent(&path);
      const int opened = openIgnoringCase(folder, name, [=](const char* entry) {
         return next ? openat(folder, entry, kPassFlags) : openEntry(folder, entry, kind);
      });
      const int failure = errno;
      close(folder);
      errno = failure;
      folder = opened;
      name = next;
   }
   return folder;
}

// Accepts the state of a file that is to be read; otherwise says no in errno.
bool isRegular(const struct stat& state)
{
   if (S_ISREG(state.st_mode)) return true;
   errno = S_ISDIR(state.st_mode) ? EISDIR : EINVAL;
   return false;
}

} // namespace

int openEntry(int folder, const char* name, PathKind kind)
{
   if (kind == PathKind::folder) return openat(folder, name, kListFlags);
   struct stat state;
   if (fstatat(folder, name, &state, 0) != 0 || !isRegular(state)) return -1;
   const int descriptor = openat(folder, name, kReadFlags);
   if (descriptor < 0) return -1;
   if (fstat(descriptor, &state) == 0 && isRegular(state)) return descriptor;
   const int failure = errno;
   close(descriptor);
   errno = failure;
   return -1;
}

int openPath(const char* path, PathKind kind)
{
   char native[PATH_MAX];
   const size_t length = std::strlen(path);
   if (length >= sizeof native) {
      errno = ENAMETOOLONG;
      return -1;
   }
   std::memcpy(native, path, length + 1);
   std::replace(native, native + length, '\\', '/');
   const int descriptor = openEntry(AT_FDCWD, native, kind);
   if (descriptor >= 0 || errno != ENOENT || length == 0) return descriptor;
   return openByComponents(native, kind);
}

} // namespace platform
