/* Forced in front of the interpreter's source that loads native modules. */
#ifndef PLATFORM_WINDOWS_NATIVE_MODULE_CALLS_H
#define PLATFORM_WINDOWS_NATIVE_MODULE_CALLS_H

#include "platform/native_module.h"

#include <string.h>
#include <windows.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Writes why a module was not loaded, or had no such function, as UTF-8 that is cut to size bytes.
 * Returns its length, 0 if the system has no text for the number. */
unsigned long platform_nativeModuleFailure(unsigned long number, char* text, unsigned long size);

#ifdef __cplusplus
}
#endif

#ifndef __cplusplus
#undef LoadLibraryA
#undef FormatMessageA
#undef GetModuleFileNameA
#define LoadLibraryA(file) ((HINSTANCE)platform_openNativeModule(file))
#define FormatMessageA(flags, source, number, language, text, size, arguments)                     \
   platform_nativeModuleFailure((unsigned long)(number), text, (unsigned long)(size))
/* Asked for the folder of the host's program, to put it into search paths that no translator keeps;
 * what cannot be told, as that of a long path, would be an error. */
#define GetModuleFileNameA(module, text, size) ((DWORD)strlen(strcpy(text, "\\")))
#endif

#endif
