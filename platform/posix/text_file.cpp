#include "platform/text_file.h"

#include "platform/posix/open_path.h"
#include "platform/posix/text_file_stream.h"

#include <cerrno>
#include <cstdio>
#include <unistd.h>

namespace platform {

int openTextFile(const char* path, TextFile* file)
{
   return streamFrom(openPath(path, PathKind::regularFile), file);
}

bool readLine(TextFile* file, char* line, size_t size)
{
   return fgets_unlocked(line, static_cast<int>(size), static_cast<FILE*>(file->stream)) != nullptr;
}

void closeTextFile(TextFile* file)
{
   std::fclose(static_cast<FILE*>(file->stream));
   file->stream = nullptr;
}

int streamFrom(int descriptor, TextFile* file)
{
   if (descriptor < 0) return errno;
   file->stream = fdopen(descriptor, "r");
   if (file->stream) return 0;
   const int failure = errno;
   close(descriptor);
   return failure;
}

} // namespace platform
