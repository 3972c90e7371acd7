#include "support/library.h"

#include <stdio.h>
#include <string.h>

#include <windows.h>

static const wchar_t* wide(const char* text, wchar_t* room, int length)
{
   return MultiByteToWideChar(CP_UTF8, 0, text, -1, room, length) > 0 ? room : L"";
}

void* loadLibrary(const char* file, bool global, char* reason, size_t size)
{
   wchar_t name[1024];
   HMODULE library;
   (void)global; /* here nothing is bound by its name alone */
   library = LoadLibraryW(wide(file, name, 1024));
   if (!library) snprintf(reason, size, "%s: failure %lu", file, GetLastError());
   return library;
}

AnyFunction findFunction(void* library, const char* name)
{
   const FARPROC address = GetProcAddress(library ? library : GetModuleHandleW(NULL), name);
   AnyFunction function;
   memcpy(&function, &address, sizeof function);
   return function;
}

bool isLoaded(const char* file)
{
   wchar_t name[1024];
   return GetModuleHandleW(wide(file, name, 1024)) != NULL;
}

void unloadLibrary(void* library)
{
   FreeLibrary(library);
}
