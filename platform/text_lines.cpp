#include "platform/text_file.h"

#include "platform/text_stream.h"

#include <algorithm>
#include <cstring>

namespace platform {

namespace {

// The C library's streams would do, but take a third longer for lines as short as those of texts.
bool fill(TextStream* stream)
{
   const size_t count = readBlock(stream);
   stream->next = stream->block;
   stream->end = stream->block + count;
   return count > 0;
}

const char* behindLastFeed(const char* begin, const char* end)
{
   while (end != begin && end[-1] != '\n')
      --end;
   return end;
}

// Reads a line from as many blocks as it takes.
bool readPieces(TextStream* stream, char* line, size_t size)
{
   size_t length = 0;
   bool isWhole = false;
   while (!isWhole && length < size - 1) {
      if (stream->next == stream->end && !fill(stream)) break;
      const size_t most =
         std::min(static_cast<size_t>(stream->end - stream->next), size - 1 - length);
      const auto* const feed = static_cast<const char*>(std::memchr(stream->next, '\n', most));
      isWhole = feed != nullptr;
      const size_t count = isWhole ? static_cast<size_t>(feed - stream->next) + 1 : most;
      std::memcpy(line + length, stream->next, count);
      stream->next += count;
      length += count;
   }
   line[length] = 0;
   return length > 0;
}

} // namespace

bool readLine(TextFile* file, char* line, size_t size)
{
   auto* const stream = static_cast<TextStream*>(file->stream);
   const char* const next = stream->next;
   const size_t most = std::min(static_cast<size_t>(stream->end - next), kShortLine);
   const auto* const feed = static_cast<const char*>(std::memchr(next, '\n', most));
   if (!feed || size <= kShortLine) return readPieces(stream, line, size);
   // Most lines that are read at all are tags. A copy of one size needs no call, and leaves no pieces
   // that overlap, for which whoever compares the line would have to wait.
   std::memcpy(line, next, kShortLine);
   line[feed + 1 - next] = 0;
   stream->next = feed + 1;
   return true;
}

bool skipLines(TextFile* file, char first, size_t size)
{
   auto* const stream = static_cast<TextStream*>(file->stream);
   size_t column = 0; // of next, in its line
   while (stream->next != stream->end || fill(stream)) {
      const char* const begin = stream->next;
      const auto* const found = static_cast<const char*>(
         std::memchr(begin, first, static_cast<size_t>(stream->end - begin)));
      stream->next = found ? found : stream->end;
      const char* const line = behindLastFeed(begin, stream->next);
      column = static_cast<size_t>(stream->next - line) + (line == begin ? column : 0);
      if (!found) continue;
      if (column == 0 || column % (size - 1) == 0) return true; // mostly 0, and to divide is slow
      ++stream->next;
      ++column;
   }
   return false;
}

} // namespace platform
