// Text in a code page of Windows, turned into UTF-16 the way Windows does when it is told to refuse
// what it does not know: every sequence either has its one meaning or the whole text is refused.
// Asked for are 1252, 932, 949, 936 and kSystemCodePage, and no other.
#ifndef PLATFORM_CODE_PAGE_H
#define PLATFORM_CODE_PAGE_H

#include <cstddef>
#include <cstdint>

namespace platform {

// The one that the system has set for the process; here the code set of its locale.
constexpr uint32_t kSystemCodePage = 0;

// The number of UTF-16 units that the length bytes at text become. 0: refused, or no text.
size_t measureUtf16(uint32_t codePage, const char* text, size_t length);

// Writes those units and returns their number. 0: refused, no text, or capacity is too small; what
// stands in units then means nothing.
size_t convertToUtf16(uint32_t codePage, const char* text, size_t length, uint16_t* units,
                      size_t capacity);

} // namespace platform

#endif
