// Paths of the logic on a system with another separator and with names that know case.
#ifndef PLATFORM_POSIX_OPEN_PATH_H
#define PLATFORM_POSIX_OPEN_PATH_H

namespace platform {

enum class PathKind
{
   folder,
   regularFile
};

// Opens what path names for reading; anything else than kind is refused and, unless it takes the
// place of a regular file at that very moment, not even opened. No open waits for another process.
// path is taken with "\" as a separator too. Each component is the entry of that very name; where
// there is none, the first by bytes of those whose names differ in the case of ASCII letters alone.
// A component that was found is kept, whatever becomes of those behind it. The descriptor ends at
// exec. Returns -1 and sets errno on failure.
int openPath(const char* path, PathKind kind);

// The same for the entry of that very name in an open folder.
int openEntry(int folder, const char* name, PathKind kind);

} // namespace platform

#endif
