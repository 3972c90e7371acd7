#include "exports/translator_from_c.h"

#include <stdio.h>

/* The layout is what a host compiled long ago relies on. */
#define HOLDS(name, condition) typedef char name[(condition) ? 1 : -1]
HOLDS(structSizeComesFirst, offsetof(lorvex_Translator, structSize) == 0);
HOLDS(structSizeHas64Bits, sizeof(((lorvex_Translator*)0)->structSize) == 8);
HOLDS(destroyIsSecond, offsetof(lorvex_Translator, destroy) == 8);
HOLDS(staticDescIsThird, offsetof(lorvex_Translator, getStaticDesc) == 8 + sizeof(void*));
HOLDS(dynamicDescIsLast, offsetof(lorvex_Translator, getDynamicDesc) == 8 + 2 * sizeof(void*));
HOLDS(headerHas32Bytes, sizeof(void*) != 8 || sizeof(lorvex_Translator) == 32);
HOLDS(languageIsInTheLowByte,
      LORVEX_LANG_AND_ADE(lorvex_languageChinese, lorvex_environmentNone) == 0x005);
HOLDS(environmentIsInTheNextFourBits,
      LORVEX_LANG_AND_ADE(lorvex_languageEnglish, lorvex_environmentFennow) == 0x300);
HOLDS(nothingSpillsOver, LORVEX_LANG_AND_ADE(0x1FF, 0x1F) == 0xFFF);

bool createFromC(const char* name, const char* registrationInfo, int32_t* code, char* text,
                 size_t size)
{
   quelerr_Status status;
   lorvex_Translator* translator;
   quelerr_heapStatus_init(&status);
   translator = lorvex_exported_create(name, registrationInfo, &status);
   *code = status.code;
   snprintf(text, size, "%s", status.json ? status.json : "");
   if (translator) translator->destroy(translator);
   quelerr_heapStatus_release(&status);
   return translator != NULL;
}
