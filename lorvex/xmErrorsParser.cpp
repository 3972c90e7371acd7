#include "lorvex/xmErrorsParser.h"

#include "lorvex/languages.h"
#include "lorvex/scan_integer.h"
#include "platform/directory.h"
#include "platform/failure_text.h"
#include "platform/text_file.h"
#include "quelerr/allocator.h"
#include "quelerr/report.h"

#include <cerrno>
#include <cstring>

namespace {

constexpr const char* kFile = "lorvex/xmErrorsParser";

// In lower case; see startsWith.
constexpr char kDeclaration[] = "<?xml version=\"1.0\""; // "?>" or ">" may follow
constexpr char kDocument[] = "<tvdocument>";
constexpr char kDocumentEnd[] = "</tvdocument>";
constexpr char kEntry[] = "<tverror code=\"";
constexpr char kEntryEnd[] = "</tverror>";
constexpr char kComment[] = "<tvcomment>";
constexpr char kCommentEnd[] = "</tvcomment>";
constexpr size_t kNumberOffset = 15; // behind kEntry

// A line that is longer comes in pieces, and each piece counts as a line.
using Line = char[1024];

// Limits of the paths of a walk, in bytes with the terminator, and of one name in it.
constexpr size_t kPathSize = 260;
constexpr size_t kNameLimit = 256;

// Ignores the case of ASCII letters, whatever the locale is. What is spelt as the tag is, as most tags
// are, needs no look at its letters.
template <size_t Size>
bool startsWith(const Line& line, const char (&tag)[Size])
{
   if (std::memcmp(line, tag, Size - 1) == 0) return true;
   for (size_t i = 0; i < Size - 1; ++i) {
      const char c = line[i] >= 'A' && line[i] <= 'Z' ? static_cast<char>(line[i] | 0x20) : line[i];
      if (c != tag[i]) return false;
   }
   return true;
}

void openDebug(quelerr_JsonWriter* writer, quelerr_Status* status)
{
   quelerr_Status_beginWriter(writer, status);
   quelerr_JsonWriter_addObject(writer, "lorvex_debug");
}

void addDebug(quelerr_Status* status, const char* text)
{
   quelerr_JsonWriter writer;
   openDebug(&writer, status);
   quelerr_JsonWriter_addString(&writer, "debug", text);
}

// For a failure of a file or folder: its number and text, and what was to be done with which folder.
void addSystemFailure(quelerr_Status* status, int number, const char* key, const char* what,
                      const char* folder)
{
   char text[platform::kFailureTextSize];
   quelerr_JsonWriter writer;
   quelerr_Status_beginWriter(&writer, status);
   quelerr_JsonWriter_addObject(&writer, "internal_error");
   quelerr_JsonWriter_addString(&writer, "api", "errno");
   quelerr_JsonWriter_addInt(&writer, "code", number);
   if (platform::errnoText(number, text)) quelerr_JsonWriter_addString(&writer, "string", text);
   quelerr_JsonWriter_leaveObject(&writer);
   quelerr_JsonWriter_addObject(&writer, "lorvex_debug");
   quelerr_JsonWriter_addString(&writer, key, what);
   quelerr_JsonWriter_addString(&writer, "path", folder);
}

void clear(quelerr_String* string)
{
   quelerr_String_eraseAt(string, 0, string->length);
}

bool readLine(platform::TextFile* file, Line& line)
{
   return platform::readLine(file, line, sizeof line);
}

// Of the lines of a text that nobody wants, only one that could be a tag is looked at.
bool readNextTag(platform::TextFile* file, Line& line)
{
   return platform::skipLines(file, '<', sizeof line) && readLine(file, line);
}

// Cuts the line ends behind the last other character; a text without one keeps them.
void cutLineEnds(quelerr_String* text)
{
   for (size_t length = text->length; length > 0; --length) {
      const char last = text->data[length - 1];
      if (last == '\r' || last == '\n') continue;
      quelerr_String_eraseAt(text, length, text->length - length);
      return;
   }
}

// Reads an entry whose opening line is in line. True ends the search: it was the one, or it is bad.
bool scanEntry(platform::TextFile* file, Line& line, int32_t code, quelerr_String* description,
               quelerr_Status* status)
{
   int32_t number = 0;
   const int scanned = lorvex_scanInteger(line + kNumberOffset, &number);
   if (scanned != 1) {
      if (QUELERR_REPORT(status, kFile, tamrixerr_resourceNotFound)) {
         quelerr_JsonWriter writer;
         openDebug(&writer, status);
         quelerr_JsonWriter_addString(&writer, "debug",
                                      "Could not successfully read the status data!");
         quelerr_JsonWriter_addInt(&writer, "sscanf", scanned);
      }
      return true;
   }
   const bool isWanted = number == code;
   while (isWanted ? readLine(file, line) : readNextTag(file, line)) {
      if (startsWith(line, kEntryEnd)) {
         if (isWanted) cutLineEnds(description);
         return isWanted;
      }
      if (isWanted) quelerr_String_append(description, line, line + std::strlen(line), status);
   }
   if (QUELERR_REPORT(status, kFile, tamrixerr_resourceNotFound))
      addDebug(status,
               "Bad explanation file. Could not find the end of the status code definition !");
   return true;
}

void skipComment(platform::TextFile* file, Line& line)
{
   while (readNextTag(file, line) && !startsWith(line, kCommentEnd)) {
   }
}

// A file that does not begin as it should, or ends before it has begun, has no entries.
void scanFile(platform::TextFile* file, int32_t code, quelerr_String* description,
              quelerr_Status* status)
{
   Line line;
   if (!readLine(file, line) || !startsWith(line, kDeclaration)) return;
   if (!readLine(file, line) || !startsWith(line, kDocument)) return;
   while (readLine(file, line)) {
      if (startsWith(line, kEntry)) {
         if (scanEntry(file, line, code, description, status)) return;
      } else if (startsWith(line, kDocumentEnd)) {
         return;
      } else if (startsWith(line, kComment)) {
         skipComment(file, line);
      } else if (!line[0]) {
         // The one content that is refused: all other lines that mean nothing are passed over.
         if (QUELERR_REPORT(status, kFile, tamrixerr_resourceNotFound))
            addDebug(status, "Bad explanation file. Unidentified section heading !");
         return;
      }
   }
}

// Searches a file that was just opened, or reports why it could not be.
void searchFile(int openFailure, platform::TextFile* file, const char* path, int32_t code,
                quelerr_String* description, quelerr_Status* status)
{
   if (openFailure) {
      if (QUELERR_REPORT(status, kFile, tamrixerr_resourceNotFound)) {
         quelerr_JsonWriter writer;
         openDebug(&writer, status);
         quelerr_JsonWriter_addString(&writer, "debug", "Could not open status explanations file");
         quelerr_JsonWriter_addString(&writer, "path", path);
      }
      return;
   }
   scanFile(file, code, description, status);
   if (status->code < 0) clear(description);
   platform::closeTextFile(file);
}

// The two blocks of a walk. They come from the heap, as a walk may run on a small stack.
struct Walk
{
   platform::Directory directory;
   char folder[kPathSize];
   size_t folderLength;
};

struct WalkEntry
{
   platform::DirectoryEntry found;
   char path[kPathSize];
   const char* extension; // in found.name
};

// Returns 0, or the number of errno for the failure.
int openWalk(const char* folder, Walk* walk)
{
   const size_t length = std::strlen(folder);
   if (length == 0) return EINVAL;
   if (length + 2 >= kPathSize) return ENAMETOOLONG;
   std::memcpy(walk->folder, folder, length + 1);
   const char last = folder[length - 1];
   walk->folderLength = length;
   // One separator goes, even of several, but not the one that is all there is.
   if (length > 1 && (last == '/' || last == '\\')) --walk->folderLength;
   walk->folder[walk->folderLength] = 0;
   return platform::openDirectory(walk->folder, &walk->directory);
}

// Fills in what the walk adds to what the system found. Returns 0 or a number, as above.
int completeEntry(const Walk& walk, WalkEntry* entry)
{
   const char* const name = entry->found.name;
   const size_t nameLength = std::strlen(name);
   if (walk.folderLength + nameLength + 3 >= kPathSize || nameLength >= kNameLimit)
      return ENAMETOOLONG;
   char* end = entry->path + walk.folderLength;
   std::memcpy(entry->path, walk.folder, walk.folderLength);
   if (std::strcmp(walk.folder, "/") != 0) *end++ = '/';
   std::memcpy(end, name, nameLength + 1);
   const char* const dot = std::strrchr(name, '.');
   entry->extension = dot ? dot + 1 : "";
   return 0;
}

bool isErrorFile(const WalkEntry& entry)
{
   return entry.found.isRegular &&
          (std::strcmp(entry.extension, "txt") == 0 || std::strcmp(entry.extension, "err") == 0);
}

// Goes over an open folder up to the first text or failure. folder is its path as it was given.
void searchEntries(Walk* walk, WalkEntry* entry, const char* folder, int32_t code,
                   quelerr_String* description, quelerr_Status* status)
{
   while (status->code >= 0 && description->length == 0 &&
          platform::readEntry(&walk->directory, &entry->found))
   {
      const int failure = completeEntry(*walk, entry);
      if (failure) {
         if (QUELERR_REPORT(status, kFile, tamrixerr_resourceNotFound))
            addSystemFailure(status, failure, "lorvex", "get file info failed", folder);
      } else if (isErrorFile(*entry)) {
         platform::TextFile file{};
         const int openFailure =
            platform::openTextFileIn(&walk->directory, entry->found.name, &file);
         searchFile(openFailure, &file, entry->path, code, description, status);
      }
   }
}

} // namespace

void lorvex_findDescriptionInFile(const char* path, int32_t code, quelerr_String* description,
                                  quelerr_Status* status)
{
   clear(description);
   if (status->code < 0) return;
   platform::TextFile file{};
   const int openFailure = platform::openTextFile(path, &file);
   searchFile(openFailure, &file, path, code, description, status);
}

void lorvex_findDescriptionInDir(const char* folder, int32_t code, quelerr_String* description,
                                 quelerr_Status* status)
{
   clear(description);
   if (status->code < 0) return;
   auto* const walk = static_cast<Walk*>(quelerr_allocate(sizeof(Walk)));
   auto* const entry = static_cast<WalkEntry*>(quelerr_allocate(sizeof(WalkEntry)));
   if (!walk || !entry) {
      if (QUELERR_REPORT(status, kFile, tamrixerr_memoryFull)) {
         quelerr_JsonWriter writer;
         openDebug(&writer, status);
         quelerr_JsonWriter_addString(&writer, "lorvex", "failed to allocate memory");
      }
   } else if (const int failure = openWalk(folder, walk)) {
      if (QUELERR_REPORT(status, kFile, tamrixerr_resourceNotFound))
         addSystemFailure(status, failure, "debug", "open dir failed", folder);
   } else {
      searchEntries(walk, entry, folder, code, description, status);
      platform::closeDirectory(&walk->directory);
   }
   quelerr_free(entry);
   quelerr_free(walk);
}

void lorvex_findDescriptionInErrorsDir(const char* errorsFolder, int32_t code, int32_t lang,
                                       quelerr_String* description, quelerr_Status* status)
{
   quelerr_String languageFolder{};
   quelerr_String_appendText(&languageFolder, errorsFolder, status);
   quelerr_String_appendText(&languageFolder, "\\", status);
   quelerr_String_appendText(&languageFolder, lorvex_convertLangToDir(lang, status), status);
   lorvex_findDescriptionInDir(quelerr_String_text(&languageFolder), code, description, status);
   if (description->length == 0 && status->code >= 0)
      lorvex_findDescriptionInDir(errorsFolder, code, description, status);
   quelerr_String_release(&languageFolder);
}
