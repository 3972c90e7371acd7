/* Every function of zerovaapi.h as a C caller sees it. */
#ifndef TESTS_EXPORTS_EXPORT_TABLE_H
#define TESTS_EXPORTS_EXPORT_TABLE_H

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef void (*AnyFunction)(void);

typedef struct ExportEntry
{
   const char* name;
   AnyFunction address;
} ExportEntry;

extern const ExportEntry kExportTable[];
extern const size_t kExportTableSize;

#ifdef __cplusplus
}
#endif

#endif
