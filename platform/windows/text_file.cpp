#include "platform/text_file.h"

#include "platform/text_stream.h"
#include "platform/windows/text_file_stream.h"
#include "platform/windows/wide_text.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <io.h>
#include <share.h>
#include <windows.h>

namespace platform {

namespace {

struct FileStream : TextStream
{
   FILE* file;
};

// A device has names in every folder.
bool isOnDisk(FILE* stream)
{
   return GetFileType(reinterpret_cast<HANDLE>(_get_osfhandle(_fileno(stream)))) == FILE_TYPE_DISK;
}

} // namespace

int openTextFile(const char* path, TextFile* file)
{
   return openStream("", path, file);
}

void closeTextFile(TextFile* file)
{
   auto* const stream = static_cast<FileStream*>(static_cast<TextStream*>(file->stream));
   std::fclose(stream->file);
   std::free(stream);
   file->stream = nullptr;
}

size_t readBlock(TextStream* stream)
{
   return std::fread(stream->block, 1, kBlockSize, static_cast<FileStream*>(stream)->file);
}

int openStream(const char* folder, const char* name, TextFile* file)
{
   wchar_t* const path = widePathAlloc(folder, name);
   if (!path) return errno;
   // As text, never inherited by a child process.
   FILE* const stream = _wfsopen(path, L"rtN", _SH_DENYNO);
   const int failure = stream ? 0 : errno;
   std::free(path);
   if (!stream) return failure;
   if (!isOnDisk(stream)) {
      std::fclose(stream);
      return EACCES;
   }
   auto* const kept = static_cast<FileStream*>(std::malloc(sizeof(FileStream)));
   if (!kept) {
      std::fclose(stream);
      return ENOMEM;
   }
   kept->file = stream;
   kept->next = kept->end = kept->block;
   file->stream = static_cast<TextStream*>(kept);
   return 0;
}

} // namespace platform
