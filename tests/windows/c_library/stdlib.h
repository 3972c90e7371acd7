/* As much of the C library as the public headers ask for, for a compiler that has none here. */
#ifndef TESTS_WINDOWS_C_LIBRARY_STDLIB_H
#define TESTS_WINDOWS_C_LIBRARY_STDLIB_H

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

void* malloc(size_t size);
void free(void* block);

#ifdef __cplusplus
}
#endif

#endif
