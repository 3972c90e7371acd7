#include "quelerr/utf.h"

namespace {

constexpr uint32_t kFirstHigh = 0xD800;
constexpr uint32_t kFirstLow = 0xDC00;
constexpr uint32_t kFirstBeyondUnit = 0x10000;

bool isHighSurrogate(uint32_t unit)
{
   return unit >= kFirstHigh && unit < kFirstLow;
}

// Writes the one to four bytes of codePoint and returns their number.
size_t encodeUtf8(uint32_t codePoint, char* bytes)
{
   const auto tail = [=](unsigned shift) {
      return static_cast<char>(0x80 | (codePoint >> shift & 0x3F));
   };
   if (codePoint < 0x80) {
      bytes[0] = static_cast<char>(codePoint);
      return 1;
   }
   if (codePoint < 0x800) {
      bytes[0] = static_cast<char>(0xC0 | codePoint >> 6);
      bytes[1] = tail(0);
      return 2;
   }
   if (codePoint < kFirstBeyondUnit) {
      bytes[0] = static_cast<char>(0xE0 | codePoint >> 12);
      bytes[1] = tail(6);
      bytes[2] = tail(0);
      return 3;
   }
   bytes[0] = static_cast<char>(0xF0 | codePoint >> 18);
   bytes[1] = tail(12);
   bytes[2] = tail(6);
   bytes[3] = tail(0);
   return 4;
}

// Calls append(bytes, count) for each code point until the input ends or the status fails.
template <typename Append>
void forEachEncoded(const uint16_t* first, const uint16_t* last, const quelerr_Status* status,
                    Append append)
{
   while (first != last && status->code >= 0) {
      uint32_t codePoint = *first++;
      if (isHighSurrogate(codePoint)) {
         if (first == last) return;
         // The partner is not checked. The sum cannot go below 0x2400, whatever it is.
         codePoint = kFirstBeyondUnit + ((codePoint - kFirstHigh) << 10) + *first++ - kFirstLow;
      }
      char bytes[4];
      append(bytes, encodeUtf8(codePoint, bytes));
   }
}

} // namespace

uint32_t quelerr_decodeUtf8(const char** cursor, const char* last)
{
   const uint32_t lead = static_cast<unsigned char>(*(*cursor)++);
   unsigned following = 0;
   uint32_t codePoint = lead;
   if ((lead & 0xE0) == 0xC0) {
      following = 1;
      codePoint = lead & 0x1F;
   } else if ((lead & 0xF0) == 0xE0) {
      following = 2;
      codePoint = lead & 0x0F;
   } else if ((lead & 0xF8) == 0xF0) {
      following = 3;
      codePoint = lead & 0x07;
   }
   for (; following > 0; --following) {
      const uint32_t byte = *cursor < last ? static_cast<unsigned char>(*(*cursor)++) : 0u;
      codePoint = codePoint << 6 | (byte & 0x3F);
   }
   return codePoint;
}

void quelerr_utf8ToUtf16(const char* first, const char* last, quelerr_WideSink sink)
{
   quelerr_WideString* const string = sink.string;
   if (sink.status->code < 0) return;
   const size_t lengthBefore = string->length;
   while (first != last && sink.status->code >= 0) {
      const uint32_t codePoint = quelerr_decodeUtf8(&first, last);
      if (codePoint < kFirstBeyondUnit) {
         quelerr_WideString_pushBack(string, static_cast<uint16_t>(codePoint), sink.status);
         continue;
      }
      const uint32_t offset = codePoint - kFirstBeyondUnit;
      quelerr_WideString_pushBack(string, static_cast<uint16_t>(kFirstHigh + (offset >> 10)),
                                  sink.status);
      quelerr_WideString_pushBack(string, static_cast<uint16_t>(kFirstLow + (offset & 0x3FF)),
                                  sink.status);
   }
   if (sink.status->code < 0 && string->data) {
      string->length = lengthBefore;
      string->data[lengthBefore] = 0;
   }
}

void quelerr_utf16ToUtf8(const uint16_t* first, const uint16_t* last, quelerr_StringSink sink)
{
   if (sink.status->code < 0) return;
   const size_t lengthBefore = sink.string->length;
   forEachEncoded(first, last, sink.status, [=](const char* bytes, size_t count) {
      for (size_t i = 0; i < count && sink.status->code >= 0; ++i)
         quelerr_String_pushBack(sink.string, bytes[i], sink.status);
   });
   if (sink.status->code < 0)
      quelerr_String_eraseAt(sink.string, lengthBefore, sink.string->length - lengthBefore);
}

void quelerr_utf16ToUtf8(const uint16_t* first, const uint16_t* last, quelerr_ByteSink sink)
{
   if (sink.status->code < 0) return;
   quelerr_ByteBuffer* const buffer = sink.buffer;
   const size_t lengthBefore = buffer->length;
   forEachEncoded(first, last, sink.status, [=](const char* bytes, size_t count) {
      char* const gap = quelerr_ByteBuffer_makeGap(buffer, buffer->length, count, sink.status);
      if (!gap) return;
      for (size_t i = 0; i < count; ++i)
         gap[i] = bytes[i];
      buffer->length += count;
   });
   if (sink.status->code < 0) buffer->length = lengthBefore;
}
