// How the system's own converter is asked.
#include "platform/code_page.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <windows.h>

#include <cstdint>
#include <vector>

namespace {

using testing::ElementsAre;

struct Call
{
   UINT page;
   DWORD flags;

   bool operator==(const Call&) const = default;
};

UINT ownPage = 0;     // 0: the system's
bool isNoted = false; // to note one takes memory
std::vector<Call> calls;

FARPROC ofSystem(const char* name)
{
   return GetProcAddress(GetModuleHandleW(L"kernel32.dll"), name);
}

UINT WINAPI getACP()
{
   static const auto real =
      reinterpret_cast<UINT(WINAPI*)()>(reinterpret_cast<void*>(ofSystem("GetACP")));
   return ownPage != 0 ? ownPage : real();
}

int WINAPI multiByteToWideChar(UINT page, DWORD flags, const char* text, int length, wchar_t* units,
                               int capacity)
{
   static const auto real =
      reinterpret_cast<int(WINAPI*)(UINT, DWORD, const char*, int, wchar_t*, int)>(
         reinterpret_cast<void*>(ofSystem("MultiByteToWideChar")));
   if (isNoted) calls.push_back({page, flags});
   return real(page, flags, text, length, units, capacity);
}

} // namespace

class AskedConverter : public testing::Test
{
protected:
   AskedConverter() { isNoted = true; }
   ~AskedConverter() override
   {
      isNoted = false;
      calls.clear();
      ownPage = 0;
   }
};

// What the objects of this program call the system by.
extern "C" {
extern UINT(WINAPI* __imp_GetACP)();
UINT(WINAPI* __imp_GetACP)() = getACP;
extern int(WINAPI* __imp_MultiByteToWideChar)(UINT, DWORD, const char*, int, wchar_t*, int);
int(WINAPI* __imp_MultiByteToWideChar)(UINT, DWORD, const char*, int, wchar_t*,
                                       int) = multiByteToWideChar;
}

TEST_F(AskedConverter, IsAskedForComposedCharactersAndForNothingUnknown)
{
   for (const uint32_t page : {platform::kSystemCodePage, 1252u, 932u, 949u, 936u}) {
      calls.clear();
      platform::measureUtf16(page, "a", 1);
      EXPECT_THAT(calls, ElementsAre(Call{page, MB_PRECOMPOSED | MB_ERR_INVALID_CHARS})) << page;
   }
}

TEST_F(AskedConverter, SystemsOwnIsNotAskedForComposedCharactersWhereThatIsAnError)
{
   ownPage = 54936;
   calls.clear();
   platform::measureUtf16(platform::kSystemCodePage, "a", 1);
   platform::measureUtf16(932, "a", 1);
   EXPECT_THAT(calls, ElementsAre(Call{CP_ACP, MB_ERR_INVALID_CHARS},
                                  Call{932, MB_PRECOMPOSED | MB_ERR_INVALID_CHARS}));
}

// A process may have UTF-8 for its own page, which knows no composed characters either.
TEST_F(AskedConverter, Utf8AsTheSystemsOwnIsNotAskedForComposedCharactersEither)
{
   ownPage = CP_UTF8;
   platform::measureUtf16(platform::kSystemCodePage, "a", 1);
   EXPECT_THAT(calls, ElementsAre(Call{CP_ACP, MB_ERR_INVALID_CHARS}));
}

TEST_F(AskedConverter, TextWithALengthThatIsNoneIsRefused)
{
   const char* const text = "a";
   EXPECT_EQ(platform::measureUtf16(932, text, size_t{1} << 32), 0u);
   uint16_t units[1];
   EXPECT_EQ(platform::convertToUtf16(932, text, 1, units, 0), 0u);
}
