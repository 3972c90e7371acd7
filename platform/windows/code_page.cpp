#include "platform/code_page.h"

#include <climits>
#include <windows.h>

namespace {

static_assert(sizeof(wchar_t) == sizeof(uint16_t));
static_assert(platform::kSystemCodePage == CP_ACP);

// Composed characters, and nothing that the page does not know. The pages of GB 18030 and of UTF-8,
// which a process can have for its own, take no word about composition.
DWORD flagsFor(uint32_t codePage)
{
   constexpr UINT kGb18030 = 54936;
   if (codePage != platform::kSystemCodePage) return MB_ERR_INVALID_CHARS | MB_PRECOMPOSED;
   const UINT own = GetACP();
   const bool takesNoForm = own == kGb18030 || own == CP_UTF8;
   return MB_ERR_INVALID_CHARS | (takesNoForm ? 0u : DWORD{MB_PRECOMPOSED});
}

size_t convert(uint32_t codePage, const char* text, size_t length, wchar_t* units, size_t capacity)
{
   if (length > INT_MAX || capacity > INT_MAX) return 0;
   const int count =
      MultiByteToWideChar(codePage, flagsFor(codePage), text, static_cast<int>(length), units,
                          static_cast<int>(capacity));
   return static_cast<size_t>(count);
}

} // namespace

namespace platform {

size_t measureUtf16(uint32_t codePage, const char* text, size_t length)
{
   return convert(codePage, text, length, nullptr, 0);
}

size_t convertToUtf16(uint32_t codePage, const char* text, size_t length, uint16_t* units,
                      size_t capacity)
{
   // For a capacity of 0 the system would only measure.
   if (capacity == 0) return 0;
   return convert(codePage, text, length, reinterpret_cast<wchar_t*>(units), capacity);
}

} // namespace platform
