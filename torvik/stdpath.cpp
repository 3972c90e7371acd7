#include "torvik/stdpath.h"

#include "platform/standard_folders.h"
#include "quelerr/report.h"
#include "quelerr/utf.h"
#include "torvik/windows_registry.h"

#include <cstring>

namespace {

// An ASCII constant as the operating system takes its names.
template <size_t Size>
struct WideText
{
   uint16_t units[Size]{};

   explicit consteval WideText(const char (&text)[Size])
   {
      for (size_t i = 0; i < Size; ++i)
         units[i] = static_cast<unsigned char>(text[i]);
   }
};

constexpr WideText kInstallerKey{"SOFTWARE\\Trevanta\\Common\\Installer"};
constexpr WideText kShared32Value{"TRVSHAREDDIR"};
constexpr WideText kSharedValue{"TRVSHAREDDIR64"};

bool isBlank(char c)
{
   return c == ' ' || (c >= '\t' && c <= '\r');
}

// What the system gives can end in blanks, in the NUL of a terminator or of an unused rest, and in
// a backslash, which goes so that a path continues with a single separator.
void trim(quelerr_String* text)
{
   size_t end = text->length;
   while (end > 0 && (isBlank(text->data[end - 1]) || text->data[end - 1] == '\0' ||
                      text->data[end - 1] == '\\'))
      --end;
   quelerr_String_eraseAt(text, end, text->length - end);
   size_t blanks = 0;
   while (blanks < text->length && isBlank(text->data[blanks]))
      ++blanks;
   quelerr_String_eraseAt(text, 0, blanks);
}

// Makes value the trimmed folder with suffix behind it, or leaves it as it is.
void assignFolder(quelerr_String* value, const quelerr_WideBuffer& folder, const char* suffix,
                  quelerr_Status* status)
{
   constexpr size_t kUsualPath = 256;
   quelerr_String text{};
   quelerr_String_reserve(&text, kUsualPath, status);
   quelerr_utf16ToUtf8(folder.data, folder.data + folder.length, quelerr_StringSink{&text, status});
   trim(&text);
   quelerr_String_appendText(&text, suffix, status);
   if (status->code >= 0) {
      quelerr_String_release(value);
      *value = text;
   } else {
      quelerr_String_release(&text);
   }
}

void readInstallerFolder(const uint16_t* valueName, uint32_t extraAccess, quelerr_String* value,
                         quelerr_Status* status)
{
   quelerr_WideBuffer folder{};
   torvik_readRegistryString(kInstallerKey.units, valueName, extraAccess, &folder, status);
   assignFolder(value, folder, "", status);
   quelerr_WideBuffer_release(&folder);
}

} // namespace

void torvik_getShared32Dir(quelerr_String* value, quelerr_Status* status)
{
   readInstallerFolder(kShared32Value.units, k32BitView, value, status);
}

void torvik_getSharedDir(quelerr_String* value, quelerr_Status* status)
{
   readInstallerFolder(kSharedValue.units, kNativeView, value, status);
}

void torvik_getFolderPath(int32_t folderId, quelerr_WideBuffer* value, quelerr_Status* status)
{
   if (status->code < 0) return;
   quelerr_WideBuffer_resize(value, platform::kFolderPathUnits, status);
   if (status->code < 0) return;
   const int32_t failure = platform::folderPath(folderId, value->data);
   if (failure && QUELERR_REPORT(status, "torvik/stdpath", tamrixerr_resourceNotFound)) {
      quelerr_JsonWriter writer;
      quelerr_Status_beginWriter(&writer, status);
      quelerr_JsonWriter_addObject(&writer, "internal_error");
      quelerr_JsonWriter_addString(&writer, "api", "hresult");
      quelerr_JsonWriter_addInt(&writer, "code", failure);
      quelerr_JsonWriter_leaveObject(&writer);
      quelerr_JsonWriter_addObject(&writer, "torvik_debug");
      quelerr_JsonWriter_addString(&writer, "desc", "SHGetFolderPathW failed");
   }
}

void torvik_getCommonAppDataDir(quelerr_String* value, quelerr_Status* status)
{
   quelerr_WideBuffer folder{};
   torvik_getFolderPath(platform::kCommonDataFolder, &folder, status);
   assignFolder(value, folder, "\\Trevanta", status);
   quelerr_WideBuffer_release(&folder);
}

void torvik_getTempDir(quelerr_String* value, quelerr_Status* status)
{
   if (status->code < 0) return;
   quelerr_WideBuffer folder{};
   size_t wanted = 256;
   do {
      quelerr_WideBuffer_resize(&folder, wanted, status);
      if (status->code < 0) break;
      wanted = platform::temporaryFolder(folder.data, folder.length);
   } while (wanted > folder.length);
   assignFolder(value, folder, "", status);
   quelerr_WideBuffer_release(&folder);
}

constexpr torvik_StandardVariable torvik_standardVariables[] = {
   {"_trvShared32Dir", torvik_getShared32Dir},
   {"_trvSharedDir", torvik_getSharedDir},
   {"_commonAppDataDir", torvik_getCommonAppDataDir},
   {"_tempDir", torvik_getTempDir},
   {nullptr, nullptr},
};
