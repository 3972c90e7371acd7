/* Forced in front of the interpreter's sources: what depends on the locale of the host, or of the
 * thread, in the C library is taken here as it is in the locale "C", so that a script means the same
 * in every host. */
#ifndef LORVEXLUA_CALLS_OF_LUA_H
#define LORVEXLUA_CALLS_OF_LUA_H

#include "lorvexlua/number_text.h"

#include <ctype.h>
#include <locale.h>
#include <stdlib.h>
#include <string.h>

static inline int lorvexlua_isUpper(int c)
{
   return c >= 'A' && c <= 'Z';
}

static inline int lorvexlua_isLower(int c)
{
   return c >= 'a' && c <= 'z';
}

static inline int lorvexlua_isDigit(int c)
{
   return c >= '0' && c <= '9';
}

static inline int lorvexlua_isAlpha(int c)
{
   return lorvexlua_isUpper(c) || lorvexlua_isLower(c);
}

static inline int lorvexlua_isAlnum(int c)
{
   return lorvexlua_isAlpha(c) || lorvexlua_isDigit(c);
}

static inline int lorvexlua_isControl(int c)
{
   return (c >= 0 && c < ' ') || c == 0x7F;
}

static inline int lorvexlua_isPunctuation(int c)
{
   return c > ' ' && c < 0x7F && !lorvexlua_isAlnum(c);
}

static inline int lorvexlua_isSpace(int c)
{
   return c == ' ' || (c >= '\t' && c <= '\r');
}

static inline int lorvexlua_isHexDigit(int c)
{
   return lorvexlua_isDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

static inline int lorvexlua_toLower(int c)
{
   return lorvexlua_isUpper(c) ? c - 'A' + 'a' : c;
}

static inline int lorvexlua_toUpper(int c)
{
   return lorvexlua_isLower(c) ? c - 'a' + 'A' : c;
}

#undef isupper
#undef islower
#undef isdigit
#undef isalpha
#undef isalnum
#undef iscntrl
#undef ispunct
#undef isspace
#undef isxdigit
#undef tolower
#undef toupper
#undef strcoll
#undef localeconv
#undef strtod
#undef sprintf
#undef fprintf
#undef fscanf
#define isupper lorvexlua_isUpper
#define islower lorvexlua_isLower
#define isdigit lorvexlua_isDigit
#define isalpha lorvexlua_isAlpha
#define isalnum lorvexlua_isAlnum
#define iscntrl lorvexlua_isControl
#define ispunct lorvexlua_isPunctuation
#define isspace lorvexlua_isSpace
#define isxdigit lorvexlua_isHexDigit
#define tolower lorvexlua_toLower
#define toupper lorvexlua_toUpper
#define strcoll strcmp
#define localeconv() ((struct lconv*)NULL) /* for which the compiler takes a full stop */
#define strtod lorvexlua_readNumber
#define sprintf lorvexlua_print
#define fprintf lorvexlua_printToFile
#define fscanf(file, format, number) lorvexlua_scanNumber(file, number)

#endif
