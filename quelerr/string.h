// A text that grows, in UTF-8 as far as its sources are.
//
// Conventions of all containers of this folder:
// 1. A record of zeros is a valid empty container. There is no destructor: whoever declares one
//    releases it on every path.
// 2. A failure is a code in the status. An operation that is given a status with an error does
//    nothing, so a chain of them needs no tests in between.
// 3. A failed operation leaves the content as it was.
// 4. The units added may lie inside the container itself.
#ifndef QUELERR_STRING_H
#define QUELERR_STRING_H

#include "quelerr_status.h"

#include <cstddef>

struct quelerr_String
{
   char* data;      // null, read as the empty text, or NUL-terminated
   size_t capacity; // without the terminator
   size_t length;   // bytes; a text may hold NUL bytes
};

// Where a conversion puts its output: behind what the string holds. Passed by value.
struct quelerr_StringSink
{
   quelerr_String* string;
   quelerr_Status* status;
};

// The text as a C string, never null; borrowed until the string next changes.
inline const char* quelerr_String_text(const quelerr_String* string)
{
   return string->data ? string->data : "";
}

// Makes room for wanted bytes. Allocates at least 128 bytes, and grows by half of what there is.
void quelerr_String_reserve(quelerr_String* string, size_t wanted, quelerr_Status* status);

// Replace the content. An empty source (which may be null) empties the string and needs no memory.
void quelerr_String_assign(quelerr_String* string, const char* text, size_t length,
                           quelerr_Status* status);
void quelerr_String_assignRange(quelerr_String* string, const char* first, const char* last,
                                quelerr_Status* status);

// Add at the end: a range, a C string, or bytes one by one.
void quelerr_String_append(quelerr_String* string, const char* first, const char* last,
                           quelerr_Status* status);
void quelerr_String_appendText(quelerr_String* string, const char* text, quelerr_Status* status);
void quelerr_String_appendBytes(quelerr_StringSink sink, const char* text, size_t length);

// Adds one byte. The caller has seen that the status holds no error.
inline void quelerr_String_pushBack(quelerr_String* string, char byte, quelerr_Status* status)
{
   if (string->length >= string->capacity) {
      quelerr_String_reserve(string, string->length + 1, status);
      if (status->code < 0) return;
   }
   string->data[string->length++] = byte;
   string->data[string->length] = 0;
}

// Inserts a range before position, which lies in the string or at its end.
void quelerr_String_insertRange(quelerr_String* string, const char* position, const char* first,
                                const char* last, quelerr_Status* status);

// Remove; these need no status and always work. The first returns first, where what followed the
// range now is; the second is clipped to the end.
char* quelerr_String_eraseRange(quelerr_String* string, char* first, char* last);
void quelerr_String_eraseAt(quelerr_String* string, size_t offset, size_t count);

// Frees the memory and makes the string a valid empty one.
void quelerr_String_release(quelerr_String* string);

#endif
