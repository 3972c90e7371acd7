// The rules of error description files, told a second time and without regard to speed.
#ifndef FUZZ_PLAIN_ERROR_FILE_H
#define FUZZ_PLAIN_ERROR_FILE_H

#include <cstdint>
#include <string>
#include <string_view>

struct PlainDescription
{
   std::string text;
   bool isFailure;
};

// What a search for code finds in a file of that content.
PlainDescription plainDescription(std::string_view content, int32_t code);

#endif
