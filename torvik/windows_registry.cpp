#include "torvik/windows_registry.h"

#include "platform/failure_text.h"
#include "quelerr/report.h"

namespace {

constexpr const char* kFile = "torvik/windowsRegistry";

void addFailure(quelerr_Status* status, uint32_t number, const char* description)
{
   char text[platform::kFailureTextSize];
   quelerr_JsonWriter writer;
   quelerr_Status_beginWriter(&writer, status);
   quelerr_JsonWriter_addObject(&writer, "internal_error");
   quelerr_JsonWriter_addString(&writer, "api", "win32");
   quelerr_JsonWriter_addUint(&writer, "code", number);
   if (platform::systemFailureText(number, text))
      quelerr_JsonWriter_addString(&writer, "string", text);
   quelerr_JsonWriter_leaveObject(&writer);
   quelerr_JsonWriter_addObject(&writer, "torvik_debug");
   quelerr_JsonWriter_addString(&writer, "desc", description);
}

} // namespace

void torvik_openKey(torvik_RegistryKey* key, const uint16_t* subKey, uint32_t extraAccess,
                    quelerr_Status* status)
{
   key->isOpen = false;
   if (status->code < 0) return;
   const uint32_t failure =
      platform::openSettingsKey(subKey, platform::kSettingsRead | extraAccess, &key->handle);
   key->isOpen = failure == 0;
   if (failure && QUELERR_REPORT(status, kFile, tamrixerr_resourceNotFound))
      addFailure(status, failure, "RegOpenKeyEx failed");
}

void torvik_closeKey(torvik_RegistryKey* key)
{
   if (key->isOpen) platform::closeSettingsKey(key->handle);
   key->isOpen = false;
}

void torvik_readRegistryString(const uint16_t* subKey, const uint16_t* valueName,
                               uint32_t extraAccess, quelerr_WideBuffer* value,
                               quelerr_Status* status)
{
   torvik_RegistryKey key;
   torvik_openKey(&key, subKey, extraAccess, status);
   uint32_t size = 512;
   uint32_t result = platform::kMoreData;
   // Someone may change the value between two passes, so the second need not be the last.
   while (status->code >= 0 && result == platform::kMoreData) {
      // A value that is no text may have an odd number of bytes; the last one must fit in as well.
      quelerr_WideBuffer_resize(value, size / sizeof *value->data + size % sizeof *value->data,
                                status);
      if (status->code < 0) break;
      result = platform::readSettingsValue(key.handle, valueName, value->data, &size);
   }
   if (status->code >= 0) {
      quelerr_WideBuffer_resize(value, size / sizeof *value->data, status);
      if (result != 0 && QUELERR_REPORT(status, kFile, tamrixerr_resourceNotFound))
         addFailure(status, result, "RegQueryValue failed");
   }
   torvik_closeKey(&key);
}
