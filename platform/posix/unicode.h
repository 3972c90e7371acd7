// The forms of Unicode between which this system's names and files (bytes) and the logic (UTF-16)
// differ.
//
// Unlike the library's own texts, names and files of the system can hold anything: what is no UTF-8
// comes out as U+FFFD, one for each sequence that could not be completed.
#ifndef PLATFORM_POSIX_UNICODE_H
#define PLATFORM_POSIX_UNICODE_H

#include <cstddef>
#include <cstdint>

namespace platform {

constexpr uint32_t kReplacement = 0xFFFD;

// Turns UTF-8 into code points, byte by byte.
class Utf8Decoder
{
public:
   // Calls emit for each code point that byte completes or breaks off.
   template <typename Emit>
   void feed(char next, Emit emit)
   {
      const unsigned char byte = static_cast<unsigned char>(next);
      if (missing_ > 0) {
         if (byte >= least_ && byte <= most_) {
            codePoint_ = codePoint_ << 6 | (byte & 0x3Fu);
            least_ = 0x80;
            most_ = 0xBF;
            if (--missing_ == 0) emit(codePoint_);
            return;
         }
         finish(emit);
      }
      if (byte < 0x80)
         emit(uint32_t{byte});
      else if (!begin(byte))
         emit(kReplacement);
   }

   // Calls emit for a sequence that the end of the input has cut off.
   template <typename Emit>
   void finish(Emit emit)
   {
      if (missing_ > 0) emit(kReplacement);
      missing_ = 0;
   }

private:
   // False if no sequence begins with lead.
   bool begin(unsigned char lead);

   uint32_t codePoint_ = 0;
   unsigned missing_ = 0;
   // What the next byte may be. Narrower behind some lead bytes, which keeps out surrogates,
   // numbers above 0x10FFFF and sequences that are longer than they need be.
   unsigned char least_ = 0;
   unsigned char most_ = 0;
};

// UTF-16 text in a block of fixed size. length goes on counting when the block is full.
struct Utf16Output
{
   uint16_t* units;
   size_t capacity;
   size_t length;

   void putUnit(uint16_t unit);
   void putCodePoint(uint32_t codePoint);
   void putUtf8(const char* first, const char* last);
};

} // namespace platform

#endif
