// The steps that a translator is made of, for the code of this folder.
#ifndef LORVEXLUA_STATE_H
#define LORVEXLUA_STATE_H

#include "lorvexlua/lorvexlua.h"
#include "quelerr/report.h"

// Where all reports of this folder come from.
#define LORVEXLUA_REPORT(status, code) QUELERR_REPORT(status, "lorvexlua/lorvexlua", code)

// Gives translator its state: all libraries and modules are in it, and the host script has set up
// its environment and required the client module. The state may be there after a failure, too.
void lorvexlua_construct(lorvexlua_Translator* translator, const lorvexlua_Contents& contents,
                         const char* name, const char* registrationInfo, quelerr_Status* status);

// Adds the sections of a protected call that failed with the result failure and left its error
// value on top of the stack, where it stays. The writer is left inside the section lorvexlua_debug.
void lorvexlua_addFailure(quelerr_JsonWriter* writer, quelerr_Status* status, lua_State* L,
                          int failure, const char* debug);

// The operations of the interface.
char* lorvexlua_getStaticDesc(lorvex_Translator* self, uint32_t code, uint32_t langAndAde,
                              lorvex_AllocString allocString, void* allocContext,
                              quelerr_Status* status);
char* lorvexlua_getDynamicDesc(lorvex_Translator* self, const char* errJson, uint32_t langAndAde,
                               const char* format, lorvex_AllocString allocString,
                               void* allocContext, quelerr_Status* status);

#endif
