// Operations on the status record that the library uses inside. None of them throws, and none takes
// a null status.
#ifndef QUELERR_STATUS_OPERATIONS_H
#define QUELERR_STATUS_OPERATIONS_H

#include "quelerr/json_writer.h"
#include "quelerr_status.h"

#include <cstdint>

// One reporting place, called a site. Its strings are constants; nothing of it is copied.
struct quelerr_Location
{
   const char* file;
   int32_t line;
   const char* component;     // null: no component member is written
   const char* errorConstant; // the source spelling of the code; not read for out of memory
};

// A clean record whose buffers come from malloc.
void quelerr_Status_init(quelerr_Status* status);
bool quelerr_defaultResize(quelerr_Status* status, uint32_t newCapacity);

// Gives the buffer back; the code stays.
void quelerr_Status_release(quelerr_Status* status);

// Each of these returns whether its code was applied: only then may the caller add members. The
// first error stays, a warning yields to an error alone, and 0 never clears anything.
bool quelerr_Status_setCode(quelerr_Status* status, int32_t code);
bool quelerr_Status_setWithSite(quelerr_Status* status, int32_t code, const quelerr_Location& site);
bool quelerr_Status_adopt(quelerr_Status* destination, quelerr_Status* source);

// -52000 over anything but an error; writes no error_constant.
bool quelerr_Status_setOutOfMemory(quelerr_Status* status, const quelerr_Location& site);

// Replaces the text, by "{}" for null. Returns the address of its last character, or null.
char* quelerr_Status_setJson(quelerr_Status* status, const char* text);

// The grow step of every writer on a status: context is the status. Returns the moved position, or
// null when the buffer cannot grow or its text does not parse.
char* quelerr_Status_growJson(char* position, void* context);

// A writer at the end of the text; its position is null when there is no text to write into.
void quelerr_Status_beginWriter(quelerr_JsonWriter* writer, quelerr_Status* status);

// Adds one string member at the end of the text.
void quelerr_Status_appendPair(quelerr_Status* status, const char* key, const char* value);

#endif
