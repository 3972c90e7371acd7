// The translators that lorvex_exported_create can make.
#ifndef LORVEX_EXPORTED_H
#define LORVEX_EXPORTED_H

#include "lorvex_translator.h"

// Makes a translator. Null when status holds an error on entry or afterwards.
using lorvex_Factory = lorvex_Translator* (*)(const char* name, const char* registrationInfo,
                                              quelerr_Status* status);

struct lorvex_ExportedTranslator
{
   lorvex_ExportedTranslator* next;
   lorvex_ExportedTranslator* prev;
   const char* name;
   lorvex_Factory factory;
};

// Head of the list. Changes only while the library is loaded and unloaded.
extern lorvex_ExportedTranslator lorvex_exportedTranslators;

#endif
