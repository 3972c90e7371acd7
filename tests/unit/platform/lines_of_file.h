// A text file as its lines are read.
#ifndef TESTS_UNIT_PLATFORM_LINES_OF_FILE_H
#define TESTS_UNIT_PLATFORM_LINES_OF_FILE_H

#include "platform/text_file.h"

#include <cstddef>
#include <gtest/gtest.h>
#include <string>
#include <vector>

// The lines of a file, as they come into a buffer of size bytes. A byte behind the buffer guards
// it.
inline std::vector<std::string> readLines(const std::string& path, size_t size = 1024)
{
   platform::TextFile file{};
   const int failure = platform::openTextFile(path.c_str(), &file);
   EXPECT_EQ(failure, 0) << path;
   std::vector<std::string> lines;
   if (failure) return lines;
   std::vector<char> buffer(size + 1, '#');
   while (platform::readLine(&file, buffer.data(), size))
      lines.emplace_back(buffer.data());
   EXPECT_EQ(buffer[size], '#');
   platform::closeTextFile(&file);
   return lines;
}

// The number of the failure to open path, 0 for success.
inline int openFailure(const std::string& path)
{
   platform::TextFile file{};
   const int failure = platform::openTextFile(path.c_str(), &file);
   if (!failure) platform::closeTextFile(&file);
   return failure;
}

#endif
