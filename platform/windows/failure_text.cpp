#include "platform/failure_text.h"

#include "platform/windows/wide_text.h"

#include <cstring>
#include <windows.h>

namespace platform {

bool systemFailureText(uint32_t number, char* text)
{
   wchar_t* wide = nullptr;
   constexpr DWORD kFlags =
      FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS;
   // The function takes the address of the pointer in the place of a buffer.
   const DWORD length =
      FormatMessageW(kFlags, nullptr, number, MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT),
                     reinterpret_cast<wchar_t*>(&wide), 0, nullptr);
   if (length == 0) return false;
   putUtf8(wide, length, text, kFailureTextSize);
   LocalFree(wide);
   return true;
}

bool errnoText(int number, char* text)
{
   return strerror_s(text, kFailureTextSize, number) == 0;
}

} // namespace platform
