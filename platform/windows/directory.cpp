#include "platform/directory.h"

#include "platform/windows/text_file_stream.h"
#include "platform/windows/wide_text.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <windows.h>

namespace platform {

namespace {

struct Listing
{
   HANDLE search;
   bool isNew; // found is what opening has found, and was not read yet
   WIN32_FIND_DATAW found;
   char* folder; // as it was given, with a separator behind it; in the block of the listing
};

int errnoOf(DWORD failure)
{
   switch (failure) {
   case ERROR_FILE_NOT_FOUND:
   case ERROR_PATH_NOT_FOUND:
   case ERROR_NO_MORE_FILES:
   case ERROR_INVALID_NAME:
   case ERROR_BAD_NETPATH:
      return ENOENT;
   case ERROR_ACCESS_DENIED:
   case ERROR_SHARING_VIOLATION:
      return EACCES;
   case ERROR_DIRECTORY:
      return ENOTDIR;
   case ERROR_FILENAME_EXCED_RANGE:
      return ENAMETOOLONG;
   case ERROR_NOT_ENOUGH_MEMORY:
      return ENOMEM;
   default:
      return EINVAL;
   }
}

// Two that the compiler's headers need not know.
constexpr DWORD kIntegrityStream = 0x8000;
constexpr DWORD kNoScrubData = 0x20000;

bool isRegular(DWORD attributes)
{
   constexpr DWORD kOfNoRegularFile = FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_DEVICE |
                                      FILE_ATTRIBUTE_TEMPORARY | FILE_ATTRIBUTE_OFFLINE |
                                      FILE_ATTRIBUTE_ENCRYPTED | kIntegrityStream | kNoScrubData;
   return (attributes & FILE_ATTRIBUTE_NORMAL) != 0 || (attributes & kOfNoRegularFile) == 0;
}

Listing* listingOf(const Directory* directory)
{
   return static_cast<Listing*>(directory->stream);
}

} // namespace

int openDirectory(const char* path, Directory* directory)
{
   wchar_t* const pattern = widePathAlloc(path, "\\*");
   if (!pattern) return errno;
   const size_t length = std::strlen(path);
   Listing* const listing = static_cast<Listing*>(std::malloc(sizeof(Listing) + length + 2));
   int failure = listing ? 0 : ENOMEM;
   if (listing) {
      listing->search = FindFirstFileW(pattern, &listing->found);
      if (listing->search == INVALID_HANDLE_VALUE) failure = errnoOf(GetLastError());
   }
   std::free(pattern);
   if (failure) {
      std::free(listing);
      return failure;
   }
   listing->isNew = true;
   listing->folder = reinterpret_cast<char*>(listing + 1);
   std::memcpy(listing->folder, path, length);
   std::memcpy(listing->folder + length, "\\", 2);
   directory->stream = listing;
   return 0;
}

bool readEntry(Directory* directory, DirectoryEntry* entry)
{
   Listing* const listing = listingOf(directory);
   if (!listing->isNew && !FindNextFileW(listing->search, &listing->found)) return false;
   listing->isNew = false;
   const WIN32_FIND_DATAW& found = listing->found;
   const bool isItsName =
      putUtf8(found.cFileName, std::wcslen(found.cFileName), entry->name, sizeof entry->name);
   entry->isRegular = isItsName && isRegular(found.dwFileAttributes);
   return true;
}

int openTextFileIn(const Directory* directory, const char* name, TextFile* file)
{
   return openStream(listingOf(directory)->folder, name, file);
}

void closeDirectory(Directory* directory)
{
   Listing* const listing = listingOf(directory);
   FindClose(listing->search);
   std::free(listing);
   directory->stream = nullptr;
}

} // namespace platform
