// The translator without scripts: a bare status code, looked up in the machine's error description
// files.
#ifndef LORVEX_DEFAULT_TRANSLATOR_H
#define LORVEX_DEFAULT_TRANSLATOR_H

#include "lorvex_translator.h"

// Returns the one object of its kind, which lives as long as the library and which any number of
// threads may use at once; null when status holds an error. The texts are not looked at.
lorvex_Translator* lorvex_defaultTranslator_create(const char* name, const char* registrationInfo,
                                                   quelerr_Status* status);

// Looks for code in the folder of the language, then in the errors folder itself, and then for
// English in the same way. Whatever goes wrong on the way to a text is not told. The environment in
// langAndAde shows in the report of a failure only.
//
// Returns UTF-8 text in memory of allocString, or null on failure. Codes: -52006 when there is no
// text and when a setting, folder or file is missing or bad, -52027 for a text that is not in its
// language's code page, -52000, and those of allocString.
char* lorvex_defaultTranslator_getStaticDesc(lorvex_Translator* self, uint32_t code,
                                             uint32_t langAndAde, lorvex_AllocString allocString,
                                             void* allocContext, quelerr_Status* status);

#endif
