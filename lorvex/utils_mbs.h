// Texts in the code page of a language.
#ifndef LORVEX_UTILS_MBS_H
#define LORVEX_UTILS_MBS_H

#include "quelerr/string.h"

#include <cstdint>

// Appends text as UTF-8. selector: the code page that text is in, for lorvex_selectorToCodePage. A
// null text is empty.
//
// Returns 0, or a code that the caller reports: -52027 when text is refused, whole, because the
// code page is not known or a sequence in it is not; -52000 for lack of memory. Only a failure of
// the sink's string to grow goes into the sink's status instead.
int32_t lorvex_mbsToUtf8(const char* text, uint32_t selector, quelerr_StringSink sink);

#endif
