// The two forms of text between which the logic (UTF-8) and this system (UTF-16) differ.
#ifndef PLATFORM_WINDOWS_WIDE_TEXT_H
#define PLATFORM_WINDOWS_WIDE_TEXT_H

#include <cstddef>

namespace platform {

// Writes text as UTF-8, terminated and cut between two characters to fit into capacity bytes. A
// surrogate without its other half becomes U+FFFD. True if what is written is the whole of the text and
// nothing else.
bool putUtf8(const wchar_t* text, size_t length, char* bytes, size_t capacity);

// The path made of the UTF-8 texts folder and name, one behind the other, as wide text from malloc.
// Null, with the reason in errno, for lack of memory and for what is no UTF-8: no file has such a
// name.
wchar_t* widePathAlloc(const char* folder, const char* name);

} // namespace platform

#endif
