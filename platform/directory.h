// What a folder holds.
#ifndef PLATFORM_DIRECTORY_H
#define PLATFORM_DIRECTORY_H

#include "platform/text_file.h"

#include <cstddef>

namespace platform {

// An open listing; whoever opened it closes it.
struct Directory
{
   void* stream;
};

struct DirectoryEntry
{
   static constexpr size_t kNameSize = 260;

   char name[kNameSize]; // UTF-8 as far as the file system's names are; cut to fit
   bool isRegular;       // a plain file, or a link to one, that can be opened by the name
};

// Opens a folder for listing. path as in openTextFile. Returns 0, or the number of errno for the
// failure.
int openDirectory(const char* path, Directory* directory);

// Reads the next entry, the folder itself and its parent included, in the order that the file
// system gives. false: the listing is at its end, or the system failed.
bool readEntry(Directory* directory, DirectoryEntry* entry);

// Opens the file that the listing calls name, as openTextFile does.
int openTextFileIn(const Directory* directory, const char* name, TextFile* file);

void closeDirectory(Directory* directory);

} // namespace platform

#endif
