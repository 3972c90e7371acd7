#include "lorvex/utils_mbs.h"

#include "lorvex/languages.h"
#include "platform/code_page.h"
#include "quelerr/allocator.h"
#include "quelerr/report.h"
#include "quelerr/utf.h"

#include <cstring>

namespace {

constexpr int32_t kRefusedText = -52027;

static_assert(kSystemCodePage == platform::kSystemCodePage);

bool isAscii(const char* text, size_t length)
{
   unsigned char seen = 0;
   for (size_t i = 0; i < length; ++i)
      seen = static_cast<unsigned char>(seen | static_cast<unsigned char>(text[i]));
   return seen < 0x80;
}

} // namespace

int32_t lorvex_mbsToUtf8(const char* text, uint32_t selector, quelerr_StringSink sink)
{
   if (!text || !*text) return 0;
   const size_t length = std::strlen(text);
   if (isAscii(text, length)) {
      quelerr_String_append(sink.string, text, text + length, sink.status);
      return 0;
   }
   const uint32_t codePage = lorvex_selectorToCodePage(selector);
   const size_t count = platform::measureUtf16(codePage, text, length);
   if (count == 0) return kRefusedText;

   auto* const units = static_cast<uint16_t*>(quelerr_allocate(count * sizeof(uint16_t)));
   if (!units) return tamrixerr_memoryFull;
   const bool isConverted = platform::convertToUtf16(codePage, text, length, units, count) == count;
   if (isConverted) quelerr_utf16ToUtf8(units, units + count, sink);
   quelerr_free(units);
   return isConverted ? 0 : kRefusedText;
}
