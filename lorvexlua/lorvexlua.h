// The translator whose logic lives in scripts: one private interpreter state for each object.
#ifndef LORVEXLUA_LORVEXLUA_H
#define LORVEXLUA_LORVEXLUA_H

#include "lorvex_translator.h"
#include "lorvexlua/embedded_modules.h"

#include <lua.hpp>

#include <cstddef>

struct lorvexlua_Translator
{
   lorvex_Translator header;
   lua_State* state; // owned
};

struct lorvexlua_Library
{
   const char* name; // passed to the opener, and told when it fails
   lua_CFunction opener;
};

// What a state is filled with, in order.
struct lorvexlua_Contents
{
   const lorvexlua_Library* libraries;
   size_t libraryCount;
   const EmbeddedModule* modules;
   size_t moduleCount;
};

extern const lorvexlua_Library lorvexlua_libraries[];
extern const size_t lorvexlua_libraryCount;

// The factory of "dorvex_zerova". Returns null with status unchanged when there is no memory for
// the object itself: callers test the pointer.
lorvex_Translator* lorvexlua_createTranslator(const char* name, const char* registrationInfo,
                                              quelerr_Status* status);
lorvex_Translator* lorvexlua_createTranslatorWith(const lorvexlua_Contents& contents,
                                                  const char* name, const char* registrationInfo,
                                                  quelerr_Status* status);

#endif
