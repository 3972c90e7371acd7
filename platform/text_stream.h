// What is behind an open text file on every system: a block of what was read ahead of the lines.
#ifndef PLATFORM_TEXT_STREAM_H
#define PLATFORM_TEXT_STREAM_H

#include <cstddef>

namespace platform {

constexpr size_t kBlockSize = 32'768;
constexpr size_t kShortLine = 32;

struct TextStream
{
   const char* next; // what is left of block
   const char* end;
   char block[kBlockSize + kShortLine]; // so much may be copied from each of its bytes
};

// Reads further text into the block of a stream that the system has made. Returns the number of
// bytes, 0 at the end of the file and if the system fails.
size_t readBlock(TextStream* stream);

} // namespace platform

#endif
