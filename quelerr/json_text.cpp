#include "quelerr/json_text.h"

#include <cstdio>
#include <cstring>

namespace {

bool isBlank(char c)
{
   return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

bool isDigit(char c)
{
   return c >= '0' && c <= '9';
}

bool isHexDigit(char c)
{
   return isDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

// The letter behind the backslash of a two-character escape, or 0.
char shortEscape(char c)
{
   switch (c) {
   case '\b':
      return 'b';
   case '\t':
      return 't';
   case '\n':
      return 'n';
   case '\f':
      return 'f';
   case '\r':
      return 'r';
   case '"':
      return '"';
   case '\\':
      return '\\';
   default:
      return 0;
   }
}

bool needsHexEscape(char c)
{
   const unsigned char byte = static_cast<unsigned char>(c);
   return byte < 0x20 || byte == 0x7F;
}

char* skipBlanks(char* p)
{
   while (isBlank(*p))
      ++p;
   return p;
}

char* parseValue(char* p);

// Each parse function takes the first byte of its construct and returns the byte behind it, or
// null.

char* parseString(char* p)
{
   if (*p != '"') return nullptr;
   ++p;
   while (static_cast<unsigned char>(*p) >= 0x20 && *p != '"') {
      if (*p++ != '\\') continue;
      if (*p == 'u') {
         for (int i = 0; i < 4; ++i)
            if (!isHexDigit(*++p)) return nullptr;
      } else if (*p == '\0' || !std::strchr("\"/\\bfnrt", *p)) {
         return nullptr;
      }
      ++p;
   }
   return *p == '"' ? p + 1 : nullptr;
}

// Permissive: what stands in a status only has to be delimited rightly, so "-", "01" and "1e+"
// pass.
char* parseNumber(char* p)
{
   if (*p != '-' && !isDigit(*p)) return nullptr;
   ++p;
   while (isDigit(*p))
      ++p;
   if (*p == '.') {
      ++p;
      while (isDigit(*p))
         ++p;
   }
   if ((*p == 'e' || *p == 'E') && (p[1] == '+' || p[1] == '-' || isDigit(p[1]))) {
      p += 2;
      while (isDigit(*p))
         ++p;
   }
   return p;
}

// The closing bracket of the container whose opening bracket is at p, or null.
char* parseContainer(char* p)
{
   const bool isObject = *p == '{';
   const char close = isObject ? '}' : ']';
   p = skipBlanks(p + 1);
   while (*p != close) {
      if (isObject) {
         p = parseString(p);
         if (!p) return nullptr;
         p = skipBlanks(p);
         if (*p != ':') return nullptr;
         p = skipBlanks(p + 1);
      }
      p = parseValue(p);
      if (!p) return nullptr;
      p = skipBlanks(p);
      if (*p == close) break;
      if (*p != ',') return nullptr;
      p = skipBlanks(p + 1);
      if (*p == close) return nullptr;
   }
   return p;
}

char* parseLiteral(char* p, const char* literal)
{
   const size_t length = std::strlen(literal);
   return std::strncmp(p, literal, length) == 0 ? p + length : nullptr;
}

char* parseValue(char* p)
{
   switch (*p) {
   case '"':
      return parseString(p);
   case '{':
   case '[': {
      char* const end = parseContainer(p);
      return end ? end + 1 : nullptr;
   }
   case 't':
      return parseLiteral(p, "true");
   case 'f':
      return parseLiteral(p, "false");
   case 'n':
      return parseLiteral(p, "null");
   default:
      return parseNumber(p);
   }
}

// Whether a member at position is the only one of its container.
bool isOnlyMember(const char* position)
{
   switch (*position) {
   case '\0':
      return true;
   case '}':
   case ']': {
      const char* before = position - 1;
      while (isBlank(*before))
         --before;
      return *before == (*position == '}' ? '{' : '[');
   }
   case '{':
   case '[': {
      const char* behind = position + 1;
      while (isBlank(*behind))
         ++behind;
      return *behind == (*position == '{' ? '}' : ']');
   }
   default:
      return false;
   }
}

char* appendNumber(char* position, const char* key, const char* digits)
{
   const size_t length = std::strlen(digits);
   const size_t keyLength = key ? quelerr_json_escapedLength(key) + 3 : 0;
   char* p = quelerr_json_makeRoom(position, keyLength + length);
   if (!p) return nullptr;
   if (key) {
      *p++ = '"';
      p = quelerr_json_writeEscaped(p, key);
      *p++ = '"';
      *p++ = ':';
   }
   std::memcpy(p, digits, length);
   return p + length;
}

} // namespace

size_t quelerr_json_escapedLength(const char* text)
{
   size_t length = 0;
   for (; *text; ++text)
      length += shortEscape(*text) ? 2u : needsHexEscape(*text) ? 6u : 1u;
   return length;
}

char* quelerr_json_writeEscaped(char* destination, const char* text)
{
   for (; *text; ++text) {
      if (const char letter = shortEscape(*text)) {
         *destination++ = '\\';
         *destination++ = letter;
      } else if (needsHexEscape(*text)) {
         char escape[7]; // the NUL must not land in the caller's buffer
         std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(*text) & 0xFFu);
         std::memcpy(destination, escape, 6);
         destination += 6;
      } else {
         *destination++ = *text;
      }
   }
   return destination;
}

char* quelerr_json_makeRoom(char* position, size_t length)
{
   const bool goesFirst = *position == '{' || *position == '[';
   if (goesFirst) ++position;
   const bool only = isOnlyMember(position);
   const size_t needed = length + (only ? 0 : 1);

   char* const terminator = position + std::strlen(position);
   size_t room = 0;
   while (room < needed && terminator[1 + room] != kJsonSentinel)
      ++room;
   if (room < needed) return nullptr;

   std::memmove(position + needed, position, static_cast<size_t>(terminator - position) + 1);
   if (only) return position;
   if (goesFirst) {
      position[needed - 1] = ',';
      return position;
   }
   *position = ',';
   return position + 1;
}

size_t quelerr_json_freeRoom(const char* position)
{
   const char* const first = position + std::strlen(position) + 1;
   const char* p = first;
   while (*p != kJsonSentinel)
      ++p;
   return static_cast<size_t>(p - first);
}

char* quelerr_json_findEnd(char* text)
{
   return *text == '{' || *text == '[' ? parseContainer(text) : nullptr;
}

char* quelerr_json_appendInt(char* position, const char* key, int32_t value)
{
   char digits[64];
   std::snprintf(digits, sizeof digits, "%i", static_cast<int>(value));
   return appendNumber(position, key, digits);
}

char* quelerr_json_appendUint(char* position, const char* key, uint32_t value)
{
   char digits[64];
   std::snprintf(digits, sizeof digits, "%u", static_cast<unsigned>(value));
   return appendNumber(position, key, digits);
}

char* quelerr_json_resetBuffer(char* buffer, size_t capacity, const char* text)
{
   const size_t length = std::strlen(text ? text : buffer);
   if (capacity <= length + 1) return nullptr;
   if (text) std::memcpy(buffer, text, length);
   std::memset(buffer + length, 0, capacity - length - 1);
   buffer[capacity - 1] = kJsonSentinel;
   return length ? buffer + length - 1 : buffer;
}
