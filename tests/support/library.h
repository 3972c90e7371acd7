/* A library that a host loads and lets go of itself. */
#ifndef TESTS_SUPPORT_LIBRARY_H
#define TESTS_SUPPORT_LIBRARY_H

#include <stdbool.h>
#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef void (*AnyFunction)(void);

/* Binds all that the library calls at once. global: what it exports is for all that is loaded later
 * as well. Returns null on failure; the reason, cut to size bytes, is then in reason. */
void* loadLibrary(const char* file, bool global, char* reason, size_t size);

/* Null when there is none. library: null for all that the process has in common. */
AnyFunction findFunction(void* library, const char* name);

/* True when somebody in the process, be it the loader itself, still holds it. */
bool isLoaded(const char* file);

void unloadLibrary(void* library);

#ifdef __cplusplus
}
#endif

#endif
