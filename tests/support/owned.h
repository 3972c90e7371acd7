// Status and containers that release themselves at the end of a test.
#ifndef TESTS_SUPPORT_OWNED_H
#define TESTS_SUPPORT_OWNED_H

#include "quelerr/buffers.h"
#include "quelerr/status.h"
#include "quelerr/string.h"
#include "quelerr/wide_string.h"

#include <string>
#include <string_view>

struct OwnedStatus : quelerr_Status
{
   explicit OwnedStatus(int32_t heldCode = 0)
   {
      quelerr_Status_init(this);
      code = heldCode;
   }
   OwnedStatus(const OwnedStatus&) = delete;
   OwnedStatus& operator=(const OwnedStatus&) = delete;
   ~OwnedStatus() { quelerr_Status_release(this); }

   std::string text() const { return json ? json : ""; }
};

template <typename Container, void (*release)(Container*)>
struct Owned : Container
{
   Owned()
      : Container{}
   {
   }
   Owned(const Owned&) = delete;
   Owned& operator=(const Owned&) = delete;
   ~Owned() { release(this); }
};

struct OwnedString : Owned<quelerr_String, quelerr_String_release>
{
   explicit OwnedString(std::string_view text = "")
   {
      OwnedStatus status;
      quelerr_String_assign(this, text.data(), text.size(), &status);
   }

   std::string text() const { return std::string(data ? data : "", length); }
};

using OwnedWideString = Owned<quelerr_WideString, quelerr_WideString_release>;
using OwnedByteBuffer = Owned<quelerr_ByteBuffer, quelerr_ByteBuffer_release>;
using OwnedWideBuffer = Owned<quelerr_WideBuffer, quelerr_WideBuffer_release>;

// The units of a wide container, to compare with a u"" literal.
template <typename Wide>
std::u16string unitsOf(const Wide& wide)
{
   return std::u16string(wide.data, wide.data + wide.length);
}

// A zero-terminated text as the operating system takes its names.
inline std::basic_string<uint16_t> wideName(std::u16string_view text)
{
   return {text.begin(), text.end()};
}

#endif
