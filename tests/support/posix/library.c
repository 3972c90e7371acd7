#include "support/library.h"

#include <dlfcn.h>
#include <stdio.h>
#include <string.h>

void* loadLibrary(const char* file, bool global, char* reason, size_t size)
{
   void* const library = dlopen(file, RTLD_NOW | (global ? RTLD_GLOBAL : RTLD_LOCAL));
   if (!library) snprintf(reason, size, "%s", dlerror());
   return library;
}

AnyFunction findFunction(void* library, const char* name)
{
   /* C has no conversion between the two kinds of pointers. */
   void* const address = dlsym(library, name);
   AnyFunction function;
   memcpy(&function, &address, sizeof function);
   return function;
}

bool isLoaded(const char* file)
{
   void* const library = dlopen(file, RTLD_NOW | RTLD_NOLOAD);
   if (library) dlclose(library);
   return library != NULL;
}

void unloadLibrary(void* library)
{
   dlclose(library);
}
