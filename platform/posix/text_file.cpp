#include "platform/text_file.h"

#include "platform/posix/open_path.h"
#include "platform/posix/text_file_stream.h"
#include "platform/text_stream.h"

#include <cerrno>
#include <cstdlib>
#include <unistd.h>

namespace platform {

namespace {

struct FileStream : TextStream
{
   int descriptor;
};

} // namespace

int openTextFile(const char* path, TextFile* file)
{
   return streamFrom(openPath(path, PathKind::regularFile), file);
}

void closeTextFile(TextFile* file)
{
   auto* const stream = static_cast<FileStream*>(static_cast<TextStream*>(file->stream));
   close(stream->descriptor);
   std::free(stream);
   file->stream = nullptr;
}

int streamFrom(int descriptor, TextFile* file)
{
   if (descriptor < 0) return errno;
   auto* const stream = static_cast<FileStream*>(std::malloc(sizeof(FileStream)));
   if (!stream) {
      close(descriptor);
      return ENOMEM;
   }
   stream->descriptor = descriptor;
   stream->next = stream->end = stream->block;
   file->stream = static_cast<TextStream*>(stream);
   return 0;
}

size_t readBlock(TextStream* stream)
{
   const int descriptor = static_cast<FileStream*>(stream)->descriptor;
   ssize_t count = 0;
   do
      count = read(descriptor, stream->block, kBlockSize);
   while (count < 0 && errno == EINTR);
   return count < 0 ? 0 : static_cast<size_t>(count);
}

} // namespace platform
