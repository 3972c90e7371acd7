#include "platform/windows/wide_text.h"

#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <windows.h>

namespace platform {

namespace {

constexpr uint32_t kReplacement = 0xFFFD;

bool isHighSurrogate(uint32_t unit)
{
   return unit >= 0xD800 && unit <= 0xDBFF;
}

bool isLowSurrogate(uint32_t unit)
{
   return unit >= 0xDC00 && unit <= 0xDFFF;
}

uint32_t takeCodePoint(const wchar_t*& text, const wchar_t* end)
{
   const uint32_t unit = *text++;
   if (isHighSurrogate(unit) && text != end && isLowSurrogate(*text))
      return 0x10000 + ((unit - 0xD800) << 10) + (uint32_t{*text++} - 0xDC00);
   return isHighSurrogate(unit) || isLowSurrogate(unit) ? kReplacement : unit;
}

// Returns the number of bytes, up to 4.
size_t encode(uint32_t codePoint, char* bytes)
{
   const auto put = [&bytes](uint32_t byte) { *bytes++ = static_cast<char>(byte); };
   if (codePoint < 0x80) {
      put(codePoint);
      return 1;
   }
   if (codePoint < 0x800) {
      put(0xC0 | codePoint >> 6);
      put(0x80 | (codePoint & 0x3F));
      return 2;
   }
   if (codePoint < 0x10000) {
      put(0xE0 | codePoint >> 12);
      put(0x80 | (codePoint >> 6 & 0x3F));
      put(0x80 | (codePoint & 0x3F));
      return 3;
   }
   put(0xF0 | codePoint >> 18);
   put(0x80 | (codePoint >> 12 & 0x3F));
   put(0x80 | (codePoint >> 6 & 0x3F));
   put(0x80 | (codePoint & 0x3F));
   return 4;
}

// The number of units without a terminator, written if there is room for them; 0 for what is no
// UTF-8, and for no text.
int convert(const char* text, size_t length, wchar_t* units, int capacity)
{
   return MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, text, static_cast<int>(length), units,
                              capacity);
}

} // namespace

bool putUtf8(const wchar_t* text, size_t length, char* bytes, size_t capacity)
{
   const wchar_t* const end = text + length;
   size_t written = 0;
   bool isExact = true;
   while (text != end) {
      char encoded[4];
      const bool isItself = *text == kReplacement;
      const uint32_t codePoint = takeCodePoint(text, end);
      isExact = isExact && (codePoint != kReplacement || isItself);
      const size_t count = encode(codePoint, encoded);
      if (count >= capacity - written) {
         isExact = false;
         break;
      }
      std::memcpy(bytes + written, encoded, count);
      written += count;
   }
   bytes[written] = '\0';
   return isExact;
}

wchar_t* widePathAlloc(const char* folder, const char* name)
{
   const size_t folderLength = std::strlen(folder);
   const size_t nameLength = std::strlen(name);
   if (folderLength + nameLength >= INT_MAX) {
      errno = ENAMETOOLONG;
      return nullptr;
   }
   // No UTF-8 text has more units than bytes.
   const size_t capacity = folderLength + nameLength + 1;
   wchar_t* const path = static_cast<wchar_t*>(std::malloc(capacity * sizeof(wchar_t)));
   if (!path) {
      errno = ENOMEM;
      return nullptr;
   }
   const int folderUnits = convert(folder, folderLength, path, static_cast<int>(capacity));
   const int nameUnits =
      convert(name, nameLength, path + folderUnits, static_cast<int>(capacity) - folderUnits);
   if ((folderUnits == 0 && folderLength > 0) || (nameUnits == 0 && nameLength > 0)) {
      std::free(path);
      errno = ENOENT;
      return nullptr;
   }
   path[folderUnits + nameUnits] = L'\0';
   return path;
}

} // namespace platform
