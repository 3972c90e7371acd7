#include "quelerr/string.h"

#include "quelerr/growth.h"

#include <cstring>

namespace {

void setLength(quelerr_String* string, size_t length)
{
   string->length = length;
   if (string->data) string->data[length] = 0;
}

// Makes room for count more bytes; false leaves a failure in the status.
bool reserveMore(quelerr_String* string, size_t count, quelerr_Status* status)
{
   const size_t wanted = string->length + count;
   if (wanted < count)
      quelerr_reportOutOfMemory(status);
   else
      quelerr_String_reserve(string, wanted, status);
   return status->code >= 0;
}

} // namespace

void quelerr_String_reserve(quelerr_String* string, size_t wanted, quelerr_Status* status)
{
   quelerr_reserveUnits(string, wanted, status);
}

void quelerr_String_assign(quelerr_String* string, const char* text, size_t length,
                           quelerr_Status* status)
{
   if (status->code < 0) return;
   if (length > string->capacity) {
      // The old content, which may be the source, stays until the new one stands.
      quelerr_String scratch{};
      quelerr_String_reserve(&scratch, length, status);
      if (status->code < 0) return;
      // With no error there is room. NOLINTNEXTLINE(clang-analyzer-core.NonNullParamChecker)
      std::memcpy(scratch.data, text, length);
      quelerr_String_release(string);
      *string = scratch;
   } else if (length) {
      std::memmove(string->data, text, length);
   }
   setLength(string, length);
}

void quelerr_String_assignRange(quelerr_String* string, const char* first, const char* last,
                                quelerr_Status* status)
{
   quelerr_String_assign(string, first, static_cast<size_t>(last - first), status);
}

void quelerr_String_append(quelerr_String* string, const char* first, const char* last,
                           quelerr_Status* status)
{
   const size_t count = static_cast<size_t>(last - first);
   if (status->code < 0 || count == 0) return;
   const bool isInside = quelerr_holdsAddress(string, first);
   const size_t offset = isInside ? static_cast<size_t>(first - string->data) : 0;
   if (!reserveMore(string, count, status)) return;
   std::memcpy(string->data + string->length, isInside ? string->data + offset : first, count);
   setLength(string, string->length + count);
}

void quelerr_String_appendText(quelerr_String* string, const char* text, quelerr_Status* status)
{
   quelerr_String_append(string, text, text + std::strlen(text), status);
}

void quelerr_String_appendBytes(quelerr_StringSink sink, const char* text, size_t length)
{
   quelerr_String* const string = sink.string;
   if (sink.status->code < 0) return;
   const size_t lengthBefore = string->length;
   const bool isInside = quelerr_holdsAddress(string, text);
   const size_t offset = isInside ? static_cast<size_t>(text - string->data) : 0;
   for (size_t i = 0; i < length && sink.status->code >= 0; ++i)
      quelerr_String_pushBack(string, isInside ? string->data[offset + i] : text[i], sink.status);
   if (sink.status->code < 0) setLength(string, lengthBefore);
}

void quelerr_String_insertRange(quelerr_String* string, const char* position, const char* first,
                                const char* last, quelerr_Status* status)
{
   const size_t count = static_cast<size_t>(last - first);
   if (status->code < 0 || count == 0) return;
   quelerr_String scratch{};
   if (quelerr_holdsAddress(string, first)) {
      quelerr_String_assignRange(&scratch, first, last, status);
      first = scratch.data;
   }
   const size_t offset = string->data ? static_cast<size_t>(position - string->data) : 0;
   if (status->code >= 0 && reserveMore(string, count, status)) {
      char* const gap = string->data + offset;
      std::memmove(gap + count, gap, string->length - offset);
      std::memcpy(gap, first, count);
      setLength(string, string->length + count);
   }
   quelerr_String_release(&scratch);
}

char* quelerr_String_eraseRange(quelerr_String* string, char* first, char* last)
{
   if (first == last) return first;
   std::memmove(first, last, static_cast<size_t>(string->data + string->length - last));
   setLength(string, string->length - static_cast<size_t>(last - first));
   return first;
}

void quelerr_String_eraseAt(quelerr_String* string, size_t offset, size_t count)
{
   if (offset >= string->length) return;
   const size_t held = string->length - offset;
   char* const first = string->data + offset;
   quelerr_String_eraseRange(string, first, first + (count < held ? count : held));
}

void quelerr_String_release(quelerr_String* string)
{
   quelerr_releaseUnits(string);
}
