#ifndef PLATFORM_POSIX_TEXT_FILE_STREAM_H
#define PLATFORM_POSIX_TEXT_FILE_STREAM_H

#include "platform/text_file.h"

namespace platform {

// Makes a text file of a descriptor, which it owns from here on, failure included. A descriptor
// below 0 is the failure that errno tells. Returns 0, or the number of errno for the failure.
int streamFrom(int descriptor, TextFile* file);

} // namespace platform

#endif
