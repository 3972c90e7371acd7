#ifndef PLATFORM_WINDOWS_TEXT_FILE_STREAM_H
#define PLATFORM_WINDOWS_TEXT_FILE_STREAM_H

#include "platform/text_file.h"

namespace platform {

// Opens the file at folder with name behind it, both UTF-8. Returns 0, or the number of errno for
// the failure.
int openStream(const char* folder, const char* name, TextFile* file);

} // namespace platform

#endif
