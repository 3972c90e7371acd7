#include "platform/posix/unicode.h"

namespace platform {

bool Utf8Decoder::begin(unsigned char lead)
{
   least_ = 0x80;
   most_ = 0xBF;
   if (lead >= 0xC2 && lead <= 0xDF) {
      missing_ = 1;
      codePoint_ = lead & 0x1Fu;
   } else if (lead >= 0xE0 && lead <= 0xEF) {
      missing_ = 2;
      codePoint_ = lead & 0x0Fu;
      if (lead == 0xE0) least_ = 0xA0;
      if (lead == 0xED) most_ = 0x9F;
   } else if (lead >= 0xF0 && lead <= 0xF4) {
      missing_ = 3;
      codePoint_ = lead & 0x07u;
      if (lead == 0xF0) least_ = 0x90;
      if (lead == 0xF4) most_ = 0x8F;
   } else {
      return false;
   }
   return true;
}

void Utf16Output::putUnit(uint16_t unit)
{
   if (length < capacity) units[length] = unit;
   ++length;
}

void Utf16Output::putCodePoint(uint32_t codePoint)
{
   if (codePoint < 0x10000) {
      putUnit(static_cast<uint16_t>(codePoint));
      return;
   }
   putUnit(static_cast<uint16_t>(0xD800 + ((codePoint - 0x10000) >> 10)));
   putUnit(static_cast<uint16_t>(0xDC00 + ((codePoint - 0x10000) & 0x3FF)));
}

void Utf16Output::putUtf8(const char* first, const char* last)
{
   Utf8Decoder decoder;
   const auto put = [this](uint32_t codePoint) { putCodePoint(codePoint); };
   for (; first != last; ++first)
      decoder.feed(*first, put);
   decoder.finish(put);
}

} // namespace platform
