// A folder as its listing tells it.
#ifndef TESTS_UNIT_PLATFORM_LISTED_FOLDER_H
#define TESTS_UNIT_PLATFORM_LISTED_FOLDER_H

#include "platform/directory.h"

#include <gtest/gtest.h>
#include <map>
#include <string>

// Each entry of a folder and whether it is regular.
inline std::map<std::string, bool> list(const std::string& path)
{
   std::map<std::string, bool> entries;
   platform::Directory directory{};
   const int failure = platform::openDirectory(path.c_str(), &directory);
   EXPECT_EQ(failure, 0) << path;
   if (failure) return entries;
   platform::DirectoryEntry entry{};
   while (platform::readEntry(&directory, &entry))
      entries[entry.name] = entry.isRegular;
   platform::closeDirectory(&directory);
   return entries;
}

// The number of the failure to open path, 0 for success.
inline int folderFailure(const std::string& path)
{
   platform::Directory directory{};
   const int failure = platform::openDirectory(path.c_str(), &directory);
   if (!failure) platform::closeDirectory(&directory);
   return failure;
}

#endif
