#include "platform/failure_text.h"

#include <cstring>

namespace platform {

namespace {

// strerror_r comes in two forms: one returns the text, the other a number and fills the buffer.
[[maybe_unused]] const char* resultText(const char* text, const char*)
{
   return text;
}

[[maybe_unused]] const char* resultText(int failure, const char* buffer)
{
   return failure == 0 ? buffer : nullptr;
}

} // namespace

// Here the numbers of the system are those of errno.
bool systemFailureText(uint32_t number, char* text)
{
   return errnoText(static_cast<int>(number), text);
}

bool errnoText(int number, char* text)
{
   char buffer[kFailureTextSize] = "";
   const char* const found = resultText(strerror_r(number, buffer, sizeof buffer), buffer);
   if (!found) return false;
   const size_t length = strnlen(found, kFailureTextSize - 1);
   std::memcpy(text, found, length);
   text[length] = '\0';
   return true;
}

} // namespace platform
