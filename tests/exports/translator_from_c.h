/* The public header as a C99 program sees it. */
#ifndef TESTS_EXPORTS_TRANSLATOR_FROM_C_H
#define TESTS_EXPORTS_TRANSLATOR_FROM_C_H

#include "lorvex_translator.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Creates a translator with a status of its own, hands its code and text out (text is cut to fit
 * size bytes) and ends the translator if there is one. Returns whether there was. */
bool createFromC(const char* name, const char* registrationInfo, int32_t* code, char* text,
                 size_t size);

#ifdef __cplusplus
}
#endif

#endif
