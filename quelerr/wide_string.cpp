#include "quelerr/wide_string.h"

#include "quelerr/growth.h"

void quelerr_WideString_reserve(quelerr_WideString* string, size_t wanted, quelerr_Status* status)
{
   quelerr_reserveUnits(string, wanted, status);
}

void quelerr_WideString_pushBack(quelerr_WideString* string, uint16_t unit, quelerr_Status* status)
{
   if (status->code < 0) return;
   quelerr_WideString_reserve(string, string->length + 1, status);
   if (status->code < 0) return;
   string->data[string->length++] = unit;
   string->data[string->length] = 0;
}

void quelerr_WideString_release(quelerr_WideString* string)
{
   quelerr_releaseUnits(string);
}
