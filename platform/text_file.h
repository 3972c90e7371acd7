// Text files that are read line by line.
#ifndef PLATFORM_TEXT_FILE_H
#define PLATFORM_TEXT_FILE_H

#include <cstddef>

namespace platform {

// An open text file; whoever opened it closes it.
struct TextFile
{
   void* stream;
};

// Opens a regular file for reading beside whoever else reads or writes it. Never waits: what is no
// regular file is refused. path is UTF-8, with "/" and "\" as separators; each of its components is
// the one of that very name, or else one whose name differs in the case of ASCII letters alone.
// Returns 0, or the number of errno for the failure.
int openTextFile(const char* path, TextFile* file);

// Reads up to the next line feed, and includes it, but no more than size - 1 bytes, and terminates
// them. false: nothing was left, or the system failed.
bool readLine(TextFile* file, char* line, size_t size);

// Goes on to the next line, as readLine cuts lines for size, that begins with first, without looking
// at what is between. false: there is none, and nothing is left.
bool skipLines(TextFile* file, char first, size_t size);

void closeTextFile(TextFile* file);

} // namespace platform

#endif
