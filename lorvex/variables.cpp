#include "lorvex/variables.h"

#include "quelerr/report.h"
#include "quelerr/utf.h"
#include "torvik/stdpath.h"
#include "torvik/windows_registry.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr const char* kPluginsKey = "SOFTWARE\\Trevanta\\Lorvex\\plugins\\";

const torvik_StandardVariable* findStandardVariable(const char* name)
{
   for (const auto* row = torvik_standardVariables; row->name; ++row)
      if (std::strcmp(row->name, name) == 0) return row;
   return nullptr;
}

void appendWide(quelerr_WideString* wide, const char* text, quelerr_Status* status)
{
   // Allocates even for the empty text, as the system wants a terminated one.
   quelerr_WideString_reserve(wide, 0, status);
   quelerr_utf8ToUtf16(text, text + std::strlen(text), quelerr_WideSink{wide, status});
}

void readPluginVariable(const char* pluginName, const char* variableName, quelerr_String* value,
                        quelerr_Status* status)
{
   quelerr_WideString key{};
   quelerr_WideString name{};
   quelerr_WideBuffer wide{};
   quelerr_ByteBuffer bytes{};
   appendWide(&key, kPluginsKey, status);
   appendWide(&key, pluginName, status);
   appendWide(&name, variableName, status);
   torvik_readRegistryString(key.data, name.data, k32BitView, &wide, status);
   quelerr_utf16ToUtf8(wide.data, wide.data + wide.length, quelerr_ByteSink{&bytes, status});
   while (bytes.length > 0 && bytes.data[bytes.length - 1] == '\0')
      --bytes.length;
   quelerr_String_assign(value, bytes.data, bytes.length, status);
   quelerr_ByteBuffer_release(&bytes);
   quelerr_WideBuffer_release(&wide);
   quelerr_WideString_release(&name);
   quelerr_WideString_release(&key);
}

void reportInvalidPath(const quelerr_String& path, quelerr_Status* status)
{
   if (!QUELERR_REPORT(status, "lorvex/lorvex_internal", tamrixerr_invalidParameter)) return;
   quelerr_JsonWriter writer;
   quelerr_Status_beginWriter(&writer, status);
   quelerr_JsonWriter_addObject(&writer, "lorvex_debug");
   quelerr_JsonWriter_addString(&writer, "lorvexdll", "plugin dll path invalid");
   quelerr_JsonWriter_addString(&writer, "dllPath", path.data);
}

} // namespace

void lorvex_lookupVariable(const char* pluginName, const char* variableName, quelerr_String* value,
                           quelerr_Status* status)
{
   quelerr_String_eraseAt(value, 0, value->length);
   if (status->code < 0) return;
   if (const auto* standard = findStandardVariable(variableName))
      standard->get(value, status);
   else
      readPluginVariable(pluginName, variableName, value, status);
}

void lorvex_expandPath(const char* pluginName, quelerr_String* path, quelerr_Status* status)
{
   quelerr_String name{};
   quelerr_String value{};
   std::replace(path->data, path->data + path->length, '/', '\\');
   for (;;) {
      char* const end = path->data + path->length;
      char* const variable = std::find(path->data, end, '$');
      if (variable == end) break;
      char* const separator = std::find(variable, end, '\\');
      if (separator == end) reportInvalidPath(*path, status);

      quelerr_String_assignRange(&name, variable + 1, separator, status);
      lorvex_lookupVariable(pluginName, quelerr_String_text(&name), &value, status);
      char* const place = quelerr_String_eraseRange(path, variable, separator);
      quelerr_String_insertRange(path, place, value.data, value.data + value.length, status);
   }
   quelerr_String_release(&value);
   quelerr_String_release(&name);
}
