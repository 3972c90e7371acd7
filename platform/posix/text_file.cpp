#include "platform/text_file.h"

#include "platform/posix/open_path.h"
#include "platform/posix/text_file_stream.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <unistd.h>

namespace platform {

namespace {

// The C library's streams would do, but take a third longer for lines as short as those of texts.
struct Stream
{
   int descriptor;
   const char* next; // what is left of block
   const char* end;
   char block[32 * 1024];
};

// False at the end of the file, and if the system fails.
bool fill(Stream* stream)
{
   ssize_t count = 0;
   do
      count = read(stream->descriptor, stream->block, sizeof stream->block);
   while (count < 0 && errno == EINTR);
   if (count <= 0) return false;
   stream->next = stream->block;
   stream->end = stream->block + count;
   return true;
}

} // namespace

int openTextFile(const char* path, TextFile* file)
{
   return streamFrom(openPath(path, PathKind::regularFile), file);
}

bool readLine(TextFile* file, char* line, size_t size)
{
   Stream* const stream = static_cast<Stream*>(file->stream);
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

void closeTextFile(TextFile* file)
{
   Stream* const stream = static_cast<Stream*>(file->stream);
   close(stream->descriptor);
   std::free(stream);
   file->stream = nullptr;
}

int streamFrom(int descriptor, TextFile* file)
{
   if (descriptor < 0) return errno;
   Stream* const stream = static_cast<Stream*>(std::malloc(sizeof(Stream)));
   if (!stream) {
      close(descriptor);
      return ENOMEM;
   }
   stream->descriptor = descriptor;
   stream->next = stream->end = stream->block;
   file->stream = stream;
   return 0;
}

} // namespace platform
