/* What a host does with the library in a full tour, step by step: load, open sessions and a
 * translator, use them, close them, unload.
 *
 * A tour is in C and asks for nothing but the C library and the loader, so that any kind of host
 * can take it. The service of the tour is that of tour_service.h. */
#ifndef TESTS_HOSTS_TOUR_H
#define TESTS_HOSTS_TOUR_H

#include "lorvex_translator.h"
#include "zerovaapi.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct Tour
{
   void* library;
   zerovaapi_Session sessions[2]; /* on the local endpoint, and by the locator */
   lorvex_Translator* translator;
   char failure[1024]; /* what went wrong first; empty as long as nothing did */
} Tour;

/* Each step returns whether nothing has gone wrong so far, and does nothing when something has. */
bool tourLoad(Tour* tour, const char* file, bool global);
bool tourOpen(Tour* tour, const char* serviceHost);
bool tourUse(Tour* tour);
bool tourClose(Tour* tour);
/* Fails when the library stays in the process. */
bool tourUnload(Tour* tour, const char* file);

/* All steps, twice. Returns what went wrong, or an empty text; it is overwritten by the next. */
const char* takeTour(const char* file, const char* serviceHost);

#ifdef __cplusplus
}
#endif

#endif
