/* As much of the C library as the public headers ask for, for a compiler that has none here. */
#ifndef TESTS_WINDOWS_C_LIBRARY_STRING_H
#define TESTS_WINDOWS_C_LIBRARY_STRING_H

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

void* memcpy(void* to, const void* from, size_t size);
void* memset(void* to, int byte, size_t size);
size_t strlen(const char* text);

#ifdef __cplusplus
}
#endif

#endif
