// The one table of languages.
#ifndef LORVEX_LANGUAGES_H
#define LORVEX_LANGUAGES_H

#include "quelerr_status.h"

#include <cstdint>

constexpr uint32_t kSystemCodePageSelector = 0;
constexpr uint32_t kSystemCodePage = 0; // whatever code page the process uses
constexpr uint32_t kUnknownCodePage = 65535;

// The name of a language's folder, a constant. The empty text with -52005 for a number that is no
// language, and with a status that holds an error.
const char* lorvex_convertLangToDir(int32_t lang, quelerr_Status* status);

// What stands for a language's code page in lorvex_selectorToCodePage. 1 with -52005 for a number
// that is no language, and with a status that holds an error.
uint32_t lorvex_langToCodePageSelector(int32_t lang, quelerr_Status* status);

// 1252, 932, 949 or 936; kSystemCodePage for selector 0, kUnknownCodePage above 6.
uint32_t lorvex_selectorToCodePage(uint32_t selector);

#endif
