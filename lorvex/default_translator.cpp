#include "lorvex/default_translator.h"

#include "lorvex/languages.h"
#include "lorvex/utils_mbs.h"
#include "lorvex/xmErrorsParser.h"
#include "quelerr/report.h"
#include "torvik/stdpath.h"

#include <cstring>

namespace {

constexpr const char* kFile = "lorvex/lorvex";
constexpr int32_t kEnglish = 0;

void destroyNothing(lorvex_Translator*) {}

constexpr lorvex_Translator kDefaultTranslator = {sizeof(lorvex_Translator), destroyNothing,
                                                  lorvex_defaultTranslator_getStaticDesc, nullptr};
static_assert(sizeof(lorvex_Translator) == 32);

// Searches for the language and then, if that gave no text for whatever reason, for English.
// Returns the language that was searched last.
int32_t findInLanguages(const quelerr_String& errorsFolder, int32_t code, int32_t lang,
                        quelerr_String* description, quelerr_Status* status)
{
   const char* const folder = quelerr_String_text(&errorsFolder);
   lorvex_findDescriptionInErrorsDir(folder, code, lang, description, status);
   if (description->length > 0 || lang == kEnglish) return lang;
   status->code = 0;
   if (status->json) quelerr_Status_setJson(status, nullptr);
   lorvex_findDescriptionInErrorsDir(folder, code, kEnglish, description, status);
   return kEnglish;
}

void reportNoDescription(int32_t code, int32_t lang, uint32_t langAndAde, quelerr_Status* status)
{
   if (!QUELERR_REPORT(status, kFile, tamrixerr_resourceNotFound)) return;
   quelerr_JsonWriter writer;
   quelerr_Status_beginWriter(&writer, status);
   quelerr_JsonWriter_addObject(&writer, "lorvex_debug");
   quelerr_JsonWriter_addString(&writer, "lorvex_defaultTranslator",
                                "couldn't find description for code");
   quelerr_JsonWriter_addInt(&writer, "code", code);
   quelerr_JsonWriter_addInt(&writer, "lang", lang);
   quelerr_JsonWriter_addInt(&writer, "ade", static_cast<int32_t>(langAndAde >> 8 & 0xF));
}

// Hands description, which is in the code page of lang, to the host as UTF-8.
char* handOut(const quelerr_String& description, int32_t lang, lorvex_AllocString allocString,
              void* allocContext, quelerr_Status* status)
{
   quelerr_String utf8{};
   const uint32_t selector = lorvex_langToCodePageSelector(lang, status);
   const int32_t err = lorvex_mbsToUtf8(description.data, selector, {&utf8, status});
   // The code is the reason that the conversion gave; its name in the report is "err".
   if (err) QUELERR_REPORT(status, kFile, err);
   // Called on failure too: it sees the error in the status, as every function does.
   char* const block = allocString(nullptr, utf8.length + 1, allocContext, status);
   const bool isGiven = block && status->code >= 0;
   if (isGiven) std::memcpy(block, quelerr_String_text(&utf8), utf8.length + 1);
   quelerr_String_release(&utf8);
   return isGiven ? block : nullptr;
}

} // namespace

lorvex_Translator* lorvex_defaultTranslator_create(const char*, const char*, quelerr_Status* status)
{
   // The interface has no const; nothing ever writes to a translator without state.
   return status->code < 0 ? nullptr : const_cast<lorvex_Translator*>(&kDefaultTranslator);
}

char* lorvex_defaultTranslator_getStaticDesc(lorvex_Translator*, uint32_t code, uint32_t langAndAde,
                                             lorvex_AllocString allocString, void* allocContext,
                                             quelerr_Status* status)
{
   if (status->code < 0) return nullptr;
   const int32_t signedCode = static_cast<int32_t>(code);
   quelerr_String folder{};
   quelerr_String description{};
   quelerr_Status scratch;
   quelerr_Status_init(&scratch);
   char* result = nullptr;

   torvik_getShared32Dir(&folder, status);
   // Lower case, whatever the folder is called on disk: files are found without regard to case.
   quelerr_String_appendText(&folder, "\\errors", status);
   if (status->code >= 0) {
      const int32_t lang =
         findInLanguages(folder, signedCode, langAndAde & 0xFF, &description, &scratch);
      if (scratch.code < 0)
         quelerr_Status_adopt(status, &scratch);
      else if (description.length > 0)
         result = handOut(description, lang, allocString, allocContext, status);
      else
         reportNoDescription(signedCode, lang, langAndAde, status);
   }
   quelerr_Status_release(&scratch);
   quelerr_String_release(&description);
   quelerr_String_release(&folder);
   return result;
}
