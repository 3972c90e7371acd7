// A terminated UTF-16 text that grows; see quelerr/string.h for the conventions.
#ifndef QUELERR_WIDE_STRING_H
#define QUELERR_WIDE_STRING_H

#include "quelerr_status.h"

#include <cstddef>
#include <cstdint>

struct quelerr_WideString
{
   uint16_t* data;  // null, read as the empty text, or terminated by a zero unit
   size_t capacity; // units, without the terminator
   size_t length;   // units
};

struct quelerr_WideSink
{
   quelerr_WideString* string;
   quelerr_Status* status;
};

// Makes room for wanted units, by the rule of quelerr_String_reserve.
void quelerr_WideString_reserve(quelerr_WideString* string, size_t wanted, quelerr_Status* status);

void quelerr_WideString_pushBack(quelerr_WideString* string, uint16_t unit, quelerr_Status* status);

// Frees the memory and makes the string a valid empty one.
void quelerr_WideString_release(quelerr_WideString* string);

#endif
