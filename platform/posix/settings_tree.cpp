// The settings tree as folders (keys) and files (values) below ZEROVA_REGISTRY_DIR. A file's
// content is the value's text in UTF-8; one line end, LF or CR LF, at its end is the editor's and not
// the value's. Names are found without regard to the case of ASCII letters.
#include "platform/settings_tree.h"

#include "platform/posix/open_path.h"
#include "platform/posix/unicode.h"

#include <cerrno>
#include <climits>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace platform {

namespace {

constexpr const char* kRoot = ZEROVA_REGISTRY_DIR;
constexpr const char* kRootOf32Bit = ZEROVA_REGISTRY_DIR "32";

// No setting is as large. The bound keeps a stray huge file from filling the memory of the process.
constexpr off_t kMostValueBytes = off_t{16} * 1024 * 1024;

// UTF-16 units of a name. A file name has at most NAME_MAX bytes, so a longer one names nothing.
constexpr size_t kMostNameUnits = 255;

struct Name
{
   const uint16_t* units;
   size_t length;
};

uint32_t lastFailure()
{
   return static_cast<uint32_t>(errno);
}

uint16_t folded(uint16_t unit)
{
   return unit >= 'A' && unit <= 'Z' ? static_cast<uint16_t>(unit | 0x20) : unit;
}

enum class Match
{
   none,
   folded,
   exact
};

Match compareName(const Name& name, const char* entry)
{
   uint16_t units[kMostNameUnits];
   Utf16Output output{units, kMostNameUnits, 0};
   output.putUtf8(entry, entry + std::strlen(entry));
   if (output.length != name.length) return Match::none;
   if (std::memcmp(units, name.units, name.length * sizeof *units) == 0) return Match::exact;
   for (size_t i = 0; i < name.length; ++i)
      if (folded(units[i]) != folded(name.units[i])) return Match::none;
   return Match::folded;
}

bool isKind(int folder, const char* entry, mode_t kind)
{
   struct stat info;
   return fstatat(folder, entry, &info, 0) == 0 && (info.st_mode & S_IFMT) == kind;
}

// The next entry of a listing that has a name of its own, or null at the end or on failure.
const char* nextName(DIR* listing)
{
   for (;;) {
      errno = 0;
      const dirent* const next = readdir(listing);
      if (!next) return nullptr;
      const char* const name = next->d_name;
      if (std::strcmp(name, ".") != 0 && std::strcmp(name, "..") != 0 &&
          std::strlen(name) <= NAME_MAX)
         return name;
   }
}

// Finds the entry of folder that is called name and is of kind, and copies its name on disk to
// entry. Of several that differ in case alone, the one spelled as asked wins, then the first by its
// bytes. As only what a listing shows can be found, a name such as ".." or "a/b" leads nowhere.
uint32_t findEntry(int folder, const Name& name, mode_t kind, char (&entry)[NAME_MAX + 1])
{
   const int listed = openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
   if (listed < 0) return lastFailure();
   DIR* const listing = fdopendir(listed);
   if (!listing) {
      const uint32_t failure = lastFailure();
      close(listed);
      return failure;
   }
   uint32_t failure = 0;
   Match best = Match::none;
   for (;;) {
      const char* const candidate = nextName(listing);
      if (!candidate) {
         failure = lastFailure();
         break;
      }
      const Match match = compareName(name, candidate);
      const bool isBetter = match > best || (match == best && std::strcmp(candidate, entry) < 0);
      if (match == Match::none || !isBetter || !isKind(folder, candidate, kind)) continue;
      std::strcpy(entry, candidate);
      best = match;
   }
   closedir(listing);
   return failure == 0 && best == Match::none ? ENOENT : failure;
}

// Opens the folder of a key below folder, to look further in it.
uint32_t openSubKey(int folder, const Name& name, int* opened)
{
   char entry[NAME_MAX + 1] = "";
   const uint32_t failure = findEntry(folder, name, S_IFDIR, entry);
   if (failure) return failure;
   *opened = openat(folder, entry, O_PATH | O_DIRECTORY | O_CLOEXEC);
   return *opened < 0 ? lastFailure() : 0;
}

// Decodes the content of file into output, without the line end at its end.
uint32_t decodeFile(int file, Utf16Output* output)
{
   const auto put = [output](uint32_t codePoint) { output->putCodePoint(codePoint); };
   Utf8Decoder decoder;
   // A line end, or the carriage return that may begin one, is held back until something follows.
   bool holdsReturn = false;
   bool holdsFeed = false;
   const auto release = [&] {
      if (holdsReturn) decoder.feed('\r', put);
      if (holdsFeed) decoder.feed('\n', put);
      holdsReturn = holdsFeed = false;
   };
   off_t total = 0;
   for (;;) {
      char chunk[4096];
      const ssize_t count = read(file, chunk, sizeof chunk);
      if (count < 0 && errno == EINTR) continue;
      if (count < 0) return lastFailure();
      if (count == 0) break;
      total += count;
      if (total > kMostValueBytes) return EFBIG;
      for (ssize_t i = 0; i < count; ++i) {
         const char byte = chunk[i];
         if (holdsFeed || byte != '\n') release();
         if (byte == '\n')
            holdsFeed = true;
         else if (byte == '\r')
            holdsReturn = true;
         else
            decoder.feed(byte, put);
      }
   }
   if (!holdsFeed) release();
   decoder.finish(put);
   return 0;
}

size_t lengthOf(const uint16_t* text)
{
   size_t length = 0;
   while (text[length])
      ++length;
   return length;
}

} // namespace

uint32_t openSettingsKey(const uint16_t* path, uint32_t access, SettingsKeyHandle* handle)
{
   int key =
      open(access & kSettingsOf32Bit ? kRootOf32Bit : kRoot, O_PATH | O_DIRECTORY | O_CLOEXEC);
   if (key < 0) return lastFailure();
   const uint16_t* const end = path + lengthOf(path);
   uint32_t failure = 0;
   for (const uint16_t* first = path; failure == 0;) {
      const uint16_t* last = first;
      while (last != end && *last != '\\')
         ++last;
      int child = -1;
      failure = openSubKey(key, Name{first, static_cast<size_t>(last - first)}, &child);
      close(key);
      key = child;
      if (last == end) break;
      first = last + 1;
   }
   *handle = key;
   return failure;
}

uint32_t readSettingsValue(SettingsKeyHandle key, const uint16_t* name, uint16_t* units,
                           uint32_t* size)
{
   const int folder = static_cast<int>(key);
   char entry[NAME_MAX + 1] = "";
   uint32_t failure = findEntry(folder, Name{name, lengthOf(name)}, S_IFREG, entry);
   if (failure) return failure;
   const int file = openEntry(folder, entry, PathKind::regularFile);
   if (file < 0) return lastFailure();
   Utf16Output output{units, *size / sizeof *units, 0};
   failure = decodeFile(file, &output);
   close(file);
   if (failure) return failure;
   *size = static_cast<uint32_t>(output.length * sizeof *units);
   return output.length > output.capacity ? kMoreData : 0;
}

void closeSettingsKey(SettingsKeyHandle key)
{
   close(static_cast<int>(key));
}

} // namespace platform
