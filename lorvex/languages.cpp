#include "lorvex/languages.h"

#include "quelerr/report.h"

#include <iterator>

namespace {

struct Language
{
   char folder[9];
   uint32_t codePage;
};

// By language index. The selector of a code page is the index plus 1.
constexpr Language kLanguages[] = {
   {"English", 1252}, {"French", 1252}, {"German", 1252},
   {"Japanese", 932}, {"Korean", 949},  {"ChineseS", 936},
};

bool isLanguage(int32_t lang)
{
   return lang >= 0 && lang < static_cast<int32_t>(std::size(kLanguages));
}

void addInvalidLanguage(quelerr_Status* status, int32_t lang)
{
   quelerr_JsonWriter writer;
   quelerr_Status_beginWriter(&writer, status);
   quelerr_JsonWriter_addObject(&writer, "lorvex_debug");
   quelerr_JsonWriter_addString(&writer, "xmerrorsparser", "invalid language");
   quelerr_JsonWriter_addInt(&writer, "lang", lang);
}

} // namespace

// The two look-ups report as the files to which they belong, the parser of the error files and the
// conversion of their texts; only the table that they share stands here. Reports are read by those
// names.

const char* lorvex_convertLangToDir(int32_t lang, quelerr_Status* status)
{
   if (status->code < 0) return "";
   if (isLanguage(lang)) return kLanguages[lang].folder;
   if (QUELERR_REPORT(status, "lorvex/xmErrorsParser", tamrixerr_invalidParameter))
      addInvalidLanguage(status, lang);
   return "";
}

uint32_t lorvex_langToCodePageSelector(int32_t lang, quelerr_Status* status)
{
   constexpr uint32_t kFirstSelector = 1;
   if (status->code < 0) return kFirstSelector;
   if (isLanguage(lang)) return kFirstSelector + static_cast<uint32_t>(lang);
   if (QUELERR_REPORT(status, "lorvex/utils_mbs", tamrixerr_invalidParameter))
      addInvalidLanguage(status, lang);
   return kFirstSelector;
}

uint32_t lorvex_selectorToCodePage(uint32_t selector)
{
   if (selector == kSystemCodePageSelector) return kSystemCodePage;
   if (selector > std::size(kLanguages)) return kUnknownCodePage;
   return kLanguages[selector - 1].codePage;
}
