#include "platform/text_file.h"

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

bool readLine(TextFile* file, char* line, size_t size)
{
   line[0] = '\0';
   return std::fgets(line, static_cast<int>(size), static_cast<FILE*>(file->stream)) != nullptr;
}

void closeTextFile(TextFile* file)
{
   std::fclose(static_cast<FILE*>(file->stream));
   file->stream = nullptr;
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
   file->stream = stream;
   return 0;
}

} // namespace platform
