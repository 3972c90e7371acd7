/* Forced in front of the JSON codec's sources, which would end the process when memory runs out and
 * keep the decimal point of a locale that a host may leave. */
#ifndef LORVEXLUA_CALLS_OF_CJSON_H
#define LORVEXLUA_CALLS_OF_CJSON_H

#include "lorvexlua/codec_memory.h"
#include "lorvexlua/number_text.h"

#include <stdio.h>
#include <stdlib.h>

#undef malloc
#undef realloc
#undef free
#undef exit
#undef abort
#undef vfprintf
#undef fprintf
#undef snprintf
#undef strtod
#define malloc(count) lorvexlua_codecAllocate(count)
/* The one function that grows a buffer has noted the size that it wants in the record s before it
 * asks for it. */
#define realloc(block, count) lorvexlua_codecReallocate(&s->size, block, count)
#define free(block) lorvexlua_codecFree(block)
#define exit(status) lorvexlua_codecFail()
#define abort() lorvexlua_codecFail()
#define vfprintf(...) ((void)0)
#define fprintf(...) ((void)0)
#define snprintf lorvexlua_printBounded
#define strtod lorvexlua_readNumber
#define lua_tolstring lorvexlua_codecText

#endif
