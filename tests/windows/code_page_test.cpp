// The system's own converter, held to the table that the converter of other systems is held to.
#include "platform/code_page.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <windows.h>

#include <array>
#include <cstdint>
#include <fstream>
#include <string>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using Units = std::vector<uint16_t>;

struct Call
{
   UINT page;
   DWORD flags;

   bool operator==(const Call&) const = default;
};

UINT ownPage = 0; // 0: the system's
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
   calls.push_back({page, flags});
   return real(page, flags, text, length, units, capacity);
}

Units convert(uint32_t page, const std::string& text)
{
   Units units(platform::measureUtf16(page, text.data(), text.size()));
   EXPECT_EQ(platform::convertToUtf16(page, text.data(), text.size(), units.data(), units.size()),
             units.size());
   calls.clear();
   return units;
}

} // namespace

// What the objects of this program call the system by.
extern "C" {
extern UINT(WINAPI* __imp_GetACP)();
UINT(WINAPI* __imp_GetACP)() = getACP;
extern int(WINAPI* __imp_MultiByteToWideChar)(UINT, DWORD, const char*, int, wchar_t*, int);
int(WINAPI* __imp_MultiByteToWideChar)(UINT, DWORD, const char*, int, wchar_t*,
                                       int) = multiByteToWideChar;
}

TEST(CodePage, EveryOneAndTwoByteSequenceIsWhatTheTableHas)
{
   std::ifstream table(CODE_PAGE_EXPECTATIONS, std::ios::binary);
   const auto expectNext = [&table](uint32_t page, const std::string& sequence) {
      std::array<unsigned char, 6> record{};
      table.read(reinterpret_cast<char*>(record.data()), record.size());
      ASSERT_TRUE(table.good()) << CODE_PAGE_EXPECTATIONS " ends too early";
      const auto number = [&record](size_t i) {
         return static_cast<uint16_t>(record[i] | record[i + 1] << 8);
      };
      Units expected = {number(2), number(4)};
      expected.resize(number(0));
      EXPECT_EQ(convert(page, sequence), expected)
         << page << ' ' << testing::PrintToString(sequence);
   };
   for (const uint32_t page : {1252u, 932u, 949u, 936u}) {
      for (int first = 0; first < 256; ++first)
         expectNext(page, {static_cast<char>(first)});
      for (int first = 0; first < 256; ++first)
         for (int second = 0; second < 256; ++second)
            expectNext(page, {static_cast<char>(first), static_cast<char>(second)});
   }
   EXPECT_EQ(table.peek(), std::ifstream::traits_type::eof());
}

TEST(CodePage, IsAskedForComposedCharactersAndForNothingUnknown)
{
   for (const uint32_t page : {platform::kSystemCodePage, 1252u, 932u, 949u, 936u}) {
      calls.clear();
      platform::measureUtf16(page, "a", 1);
      EXPECT_THAT(calls, ElementsAre(Call{page, MB_PRECOMPOSED | MB_ERR_INVALID_CHARS})) << page;
   }
}

TEST(CodePage, SystemsOwnIsNotAskedForComposedCharactersWhereThatIsAnError)
{
   ownPage = 54936;
   calls.clear();
   platform::measureUtf16(platform::kSystemCodePage, "a", 1);
   platform::measureUtf16(932, "a", 1);
   EXPECT_THAT(calls, ElementsAre(Call{CP_ACP, MB_ERR_INVALID_CHARS},
                                  Call{932, MB_PRECOMPOSED | MB_ERR_INVALID_CHARS}));
   ownPage = 0;
}

TEST(CodePage, TextWithALengthThatIsNoneIsRefused)
{
   const char* const text = "a";
   EXPECT_EQ(platform::measureUtf16(932, text, size_t{1} << 32), 0u);
   uint16_t units[1];
   EXPECT_EQ(platform::convertToUtf16(932, text, 1, units, 0), 0u);
}
