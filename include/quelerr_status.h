/* Status record: how every function of the library reports a failure.
 *
 * 1. The caller owns the record and passes its address as the last argument. A null address is not
 *    allowed.
 * 2. code is 0 for success, negative for an error, positive for a warning. A function that is given
 *    a record with an error does nothing (the few exceptions say so), so the first error ends a
 *    chain of calls. The first error stays; a warning is replaced by an error but not by another
 *    warning; success never clears anything. To use a record again, set code to 0. The library
 *    makes no warnings of its own, but a service may refuse a call with one: code != 0 says that a
 *    call has failed, and rule 1 of zerovaapi.h says where to test.
 * 3. json is null until a failure had to be described; then it is a text, NUL-terminated. Read it
 *    only while code is not 0: a record that was used before keeps its old buffer. Who failed
 *    decides what the text is:
 *       the library   one JSON object that begins with "error_constant" or, out of memory, with
 *                     "file", and has the component "zerovaapi". A member for which there was no
 *                     memory is missing whole. Bytes from 0x80 up in its strings come as they were
 *                     given, so names and messages from elsewhere that are no UTF-8 stay none
 *       the service   what the service gave, byte for byte up to its first NUL: by agreement a JSON
 *                     object in UTF-8. Nothing holds it to that: it can be empty, no JSON, no
 *                     UTF-8, nearly 100 MiB long, and come with a code of the library's own
 *    If the buffer could not be made large enough, the text is "{}" or json is null. So of a text
 *    that may be a service's a host can rely on the NUL alone, and parses and shows it as input
 *    that it does not trust.
 * 4. The library touches the buffer only through resize, which the caller supplies, so the two may
 *    live on different heaps. quelerr_heapStatus below is a ready one over malloc and free.
 * 5. A record belongs to one thread during a call.
 *
 * Use:
 *    quelerr_Status status;
 *    quelerr_heapStatus_init(&status);
 *    ... calls ...
 *    if (status.code != 0) fprintf(stderr, "%d %s\n", status.code, status.json ? status.json : "");
 *    quelerr_heapStatus_release(&status);
 */
#ifndef QUELERR_STATUS_H
#define QUELERR_STATUS_H

#include <stdbool.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>

#if defined(_WIN32) && !defined(_WIN64)
#error "The library is for 64-bit programs."
#endif

/* How functions are called from one module to another, whatever a host's own default is. */
#if defined(_WIN32)
#define QUELERR_CALL __cdecl
#else
#define QUELERR_CALL
#endif

#ifdef __cplusplus
extern "C" {
#endif

typedef struct quelerr_Status quelerr_Status;

/* Makes the buffer at json at least newCapacity bytes large, or gives it back for 0.
 *
 * On success: returns true, capacity and json describe the new buffer, which holds the old text (or
 * "{}" if there was none) with its NUL, zero bytes behind it and the letter J in its last byte;
 * for 0 both fields are cleared. On failure: returns false and leaves the record as it was. */
typedef bool(QUELERR_CALL* quelerr_Status_Resize)(quelerr_Status* status, uint32_t newCapacity);

struct quelerr_Status
{
   int32_t code;
   uint32_t capacity;            /* bytes at json; 0 when there is no buffer */
   quelerr_Status_Resize resize; /* never null */
   char* json;
};

/* A resize function over malloc and free. */
static inline bool QUELERR_CALL quelerr_heapStatus_resize(quelerr_Status* status,
                                                          uint32_t newCapacity)
{
   const char* text = status->json ? status->json : "{}";
   size_t capacity = 512;
   size_t length;
   char* json;
   if (newCapacity == 0) {
      free(status->json);
      status->json = NULL;
      status->capacity = 0;
      return true;
   }
   if (newCapacity <= status->capacity) return true;
   if (newCapacity > 0x7FFFFFFFu) return false;
   while (capacity < newCapacity)
      capacity *= 2;
   json = (char*)malloc(capacity);
   if (!json) return false;
   length = strlen(text);
   memcpy(json, text, length);
   memset(json + length, 0, capacity - length - 1);
   json[capacity - 1] = 'J';
   free(status->json);
   status->json = json;
   status->capacity = (uint32_t)capacity;
   return true;
}

/* Makes status a clean record whose buffer comes from malloc. Allocates nothing. */
static inline void quelerr_heapStatus_init(quelerr_Status* status)
{
   status->code = 0;
   status->capacity = 0;
   status->resize = quelerr_heapStatus_resize;
   status->json = NULL;
}

/* Frees the buffer, if there is one. The code stays, and the record may be used again. */
static inline void quelerr_heapStatus_release(quelerr_Status* status)
{
   status->resize(status, 0);
}

#ifdef __cplusplus
}
#endif

#endif
