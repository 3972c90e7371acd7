// Conversions between the forms of Unicode text.
//
// None of them judges its input: the sources are the operating system and the library's own texts.
// They stay inside the range they are given whatever it holds. A conversion that runs out of memory
// leaves its sink's container with the content it had.
#ifndef QUELERR_UTF_H
#define QUELERR_UTF_H

#include "quelerr/buffers.h"
#include "quelerr/string.h"
#include "quelerr/wide_string.h"

#include <cstdint>

// Takes one code point from *cursor, which is before last, and moves *cursor behind it. A byte that
// leads nothing is its own value; of the bytes that follow a lead byte the low six bits count, and
// those that last cuts off count as 0.
uint32_t quelerr_decodeUtf8(const char** cursor, const char* last);

void quelerr_utf8ToUtf16(const char* first, const char* last, quelerr_WideSink sink);

// A first surrogate is joined with whatever follows it, and dropped when nothing does.
void quelerr_utf16ToUtf8(const uint16_t* first, const uint16_t* last, quelerr_StringSink sink);
void quelerr_utf16ToUtf8(const uint16_t* first, const uint16_t* last, quelerr_ByteSink sink);

#endif
