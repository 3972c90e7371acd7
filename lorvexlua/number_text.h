/* Numbers as text, the same in every locale: a decimal point is a full stop, whatever locale the host
 * has chosen, and whenever and in whichever thread it chooses.
 *
 * Plain C, since the interpreter and the JSON codec are compiled with these in the place of the
 * functions of the C library that are named beside them. */
#ifndef LORVEXLUA_NUMBER_TEXT_H
#define LORVEXLUA_NUMBER_TEXT_H

#include <stddef.h>
#include <stdio.h>

#ifdef __cplusplus
extern "C" {
#endif

#ifdef __GNUC__
#define LORVEXLUA_PRINTS(at, first) __attribute__((format(printf, at, first)))
#else
#define LORVEXLUA_PRINTS(at, first)
#endif

/* strtod. */
double lorvexlua_readNumber(const char* text, char** end);

/* sprintf, snprintf and fprintf. A format that ends in a conversion of a floating-point number must
 * be that conversion alone. */
int lorvexlua_print(char* text, const char* format, ...) LORVEXLUA_PRINTS(2, 3);
int lorvexlua_printBounded(char* text, size_t capacity, const char* format, ...)
   LORVEXLUA_PRINTS(3, 4);
int lorvexlua_printToFile(FILE* file, const char* format, ...) LORVEXLUA_PRINTS(2, 3);

/* fscanf of one number, decimal or hexadecimal: 1 if there is one. */
int lorvexlua_scanNumber(FILE* file, double* number);

#undef LORVEXLUA_PRINTS

#ifdef __cplusplus
}
#endif

#endif
