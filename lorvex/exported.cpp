#include "lorvex/exported.h"

#include "quelerr/report.h"

#include <cstring>

constinit lorvex_ExportedTranslator lorvex_exportedTranslators{
   &lorvex_exportedTranslators, &lorvex_exportedTranslators, nullptr, nullptr};

lorvex_Translator* lorvex_exported_create(const char* name, const char* registrationInfo,
                                          quelerr_Status* status)
{
   if (status->code < 0) return nullptr;
   const lorvex_ExportedTranslator* const head = &lorvex_exportedTranslators;
   for (const auto* node = head->next; node != head; node = node->next)
      if (std::strcmp(name, node->name) == 0)
         return node->factory(node->name, registrationInfo, status);

   if (QUELERR_REPORT(status, "lorvex/exported", tamrixerr_invalidParameter)) {
      quelerr_JsonWriter writer;
      quelerr_Status_beginWriter(&writer, status);
      quelerr_JsonWriter_addObject(&writer, "lorvex_debug");
      quelerr_JsonWriter_addString(&writer, "lorvex_exported", "could not find xlator");
      quelerr_JsonWriter_addString(&writer, "name", name);
      quelerr_JsonWriter_addString(&writer, "registrationInfo", registrationInfo);
   }
   return nullptr;
}
