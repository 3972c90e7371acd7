/* Forced in front of the interpreter's sources that name files: scripts have paths as UTF-8, which
 * the C library's own functions would take for text in the system's code page. */
#ifndef PLATFORM_WINDOWS_SCRIPT_FILES_H
#define PLATFORM_WINDOWS_SCRIPT_FILES_H

#include <stdio.h>

#ifdef __cplusplus
extern "C" {
#endif

/* fopen, freopen, remove and rename. A name that is no UTF-8 is that of no file (ENOENT). */
FILE* platform_openScriptFile(const char* name, const char* mode);
FILE* platform_reopenScriptFile(const char* name, const char* mode, FILE* file);
int platform_removeScriptFile(const char* name);
int platform_renameScriptFile(const char* from, const char* to);

#ifdef __cplusplus
}
#else
#undef fopen
#undef freopen
#undef remove
#undef rename
#define fopen platform_openScriptFile
#define freopen platform_reopenScriptFile
#define remove platform_removeScriptFile
#define rename platform_renameScriptFile
#endif

#endif
