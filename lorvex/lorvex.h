// The translators that stand ready with settings, and the moments at which both lists change.
#ifndef LORVEX_LORVEX_H
#define LORVEX_LORVEX_H

#include "lorvex/exported.h"
#include "quelerr/string.h"

struct lorvex_TranslatorRegistration
{
   lorvex_TranslatorRegistration* next;
   lorvex_TranslatorRegistration* prev;
   const char* name;
   const char* settings; // a JSON text
   lorvex_Factory factory;
};

// Head of the list. Nothing in the library reads it: it is there for a host of the framework.
extern lorvex_TranslatorRegistration lorvex_registeredTranslators;

// The settings of "dorvex_zerova"; empty (its data null) when there was no memory for them.
extern quelerr_String lorvex_zerovaSettings;

// The factory of "dorvex_zerova", which the code of the Lua translator supplies.
lorvex_Translator* lorvexlua_createTranslator(const char* name, const char* registrationInfo,
                                              quelerr_Status* status);

// Enter all nodes, and take them out in reverse order. The library's load and unload call these,
// once each and on one thread.
void lorvex_load();
void lorvex_unload();

#endif
