/* What callers that were compiled long ago rely on, one row for each fact: its name, the value as
 * the compiler at hand has it, and the value that it must keep for good. */
#ifndef TESTS_EXPORTS_ABI_LAYOUT_H
#define TESTS_EXPORTS_ABI_LAYOUT_H

#include "lorvex_translator.h"
#include "quelerr_status.h"
#include "zerovaapi.h"

#include <stddef.h>

#define ABI_SIZE(type) "size of " #type, sizeof(type)
#define ABI_OFFSET(type, field) "offset of " #type "." #field, offsetof(struct type, field)
#define ABI_VALUE(name) "value of " #name, (name)

#define ABI_LAYOUT(ROW)                                                                            \
   ROW(ABI_SIZE(quelerr_Status), 24)                                                               \
   ROW(ABI_OFFSET(quelerr_Status, code), 0)                                                        \
   ROW(ABI_OFFSET(quelerr_Status, capacity), 4)                                                    \
   ROW(ABI_OFFSET(quelerr_Status, resize), 8)                                                      \
   ROW(ABI_OFFSET(quelerr_Status, json), 16)                                                       \
   ROW(ABI_SIZE(quelerr_Status_Resize), 8)                                                         \
   ROW(ABI_SIZE(lorvex_Translator), 32)                                                            \
   ROW(ABI_OFFSET(lorvex_Translator, structSize), 0)                                               \
   ROW(ABI_OFFSET(lorvex_Translator, destroy), 8)                                                  \
   ROW(ABI_OFFSET(lorvex_Translator, getStaticDesc), 16)                                           \
   ROW(ABI_OFFSET(lorvex_Translator, getDynamicDesc), 24)                                          \
   ROW(ABI_SIZE(lorvex_AllocString), 8)                                                            \
   ROW(ABI_SIZE(zerovaapi_Session), 8)                                                             \
   ROW(ABI_SIZE(zerovaapi_RouteAttributes), 8)                                                     \
   ROW(ABI_SIZE(zerovaapi_AttributeMap), 8)                                                        \
   ROW(ABI_SIZE(zerovaapi_DeviceContainer), 8)                                                     \
   ROW(ABI_SIZE(zerovaapi_TerminalContainer), 8)                                                   \
   ROW(ABI_SIZE(zerovaapi_Iterator), 8)                                                            \
   ROW("sign of zerovaapi_Iterator", (zerovaapi_Iterator)-1 < 1, 0)                                \
   ROW(ABI_SIZE(bool), 1)                                                                          \
   ROW(ABI_VALUE(zerovaapi_kLifetimeSession), 0)                                                   \
   ROW(ABI_VALUE(zerovaapi_kLifetimeImmediate), 1)                                                 \
   ROW(ABI_VALUE(zerovaapi_kStateCalculated), 0)                                                   \
   ROW(ABI_VALUE(zerovaapi_kStateReserved), 1)                                                     \
   ROW(ABI_VALUE(zerovaapi_kStateProgrammed), 2)                                                   \
   ROW(ABI_VALUE(lorvex_languageEnglish), 0)                                                       \
   ROW(ABI_VALUE(lorvex_languageFrench), 1)                                                        \
   ROW(ABI_VALUE(lorvex_languageGerman), 2)                                                        \
   ROW(ABI_VALUE(lorvex_languageJapanese), 3)                                                      \
   ROW(ABI_VALUE(lorvex_languageKorean), 4)                                                        \
   ROW(ABI_VALUE(lorvex_languageChinese), 5)                                                       \
   ROW(ABI_VALUE(lorvex_environmentNone), 0)                                                       \
   ROW(ABI_VALUE(lorvex_environmentBrask), 1)                                                      \
   ROW(ABI_VALUE(lorvex_environmentTolm), 2)                                                       \
   ROW(ABI_VALUE(lorvex_environmentFennow), 3)                                                     \
   ROW(ABI_VALUE(LORVEX_LANG_AND_ADE(5, 3)), 0x305)                                                \
   ROW(ABI_VALUE(LORVEX_LANG_AND_ADE(-1, -1)), 0xFFF)

typedef struct AbiFact
{
   const char* what;
   long value;
   long expected;
} AbiFact;

#ifdef __cplusplus
extern "C" {
#endif

/* The facts as a C99 compiler has them; count receives how many there are. */
const AbiFact* abiFactsFromC(size_t* count);

#ifdef __cplusplus
}
#endif

#endif
