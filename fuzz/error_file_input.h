// An error description file whose content is the input of a fuzzer. It is kept in memory and found
// by paths, so no execution writes to disk.
#ifndef FUZZ_ERROR_FILE_INPUT_H
#define FUZZ_ERROR_FILE_INPUT_H

#include <cstdint>
#include <string>
#include <string_view>

// The path of the file, and of an errors folder in which it is the one file of every folder.
extern const std::string kErrorFilePath;
extern const std::string kErrorsFolderPath;

void writeErrorFile(std::string_view content);

// The number of the entry that is the index-th in content, if there are so many: otherwise that of
// the last one, and of none -52006.
int32_t codeOfEntry(int index, std::string_view content);

#endif
