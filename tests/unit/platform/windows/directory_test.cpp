// What folders hold on this system alone.
#include "platform/directory.h"

#include "support/scratch_folder.h"
#include "support/windows/import_patch.h"
#include "unit/platform/listed_folder.h"

#include <gmock/gmock.h>

#include <cwchar>
#include <string>

#include <windows.h>

namespace {

using testing::Pair;
using testing::UnorderedElementsAre;

// What the system tells of the first entry of a folder.
class FirstEntry
{
public:
   FirstEntry()
      : patch_("FindFirstFileW", find, zerova::test::kProgram)
   {
      real = reinterpret_cast<decltype(real)>(patch_.original());
      told = {};
   }

   void setAttributes(DWORD attributes) { told.dwFileAttributes = attributes; }
   void setName(const std::wstring& name) { std::wcscpy(told.cFileName, name.c_str()); }

   // As the listing has it.
   platform::DirectoryEntry read() const
   {
      const ScratchFolder folder;
      platform::Directory listing{};
      EXPECT_EQ(platform::openDirectory(folder.path().c_str(), &listing), 0);
      platform::DirectoryEntry entry{};
      EXPECT_TRUE(platform::readEntry(&listing, &entry));
      platform::closeDirectory(&listing);
      return entry;
   }

private:
   static HANDLE WINAPI find(const wchar_t* pattern, WIN32_FIND_DATAW* found)
   {
      const HANDLE search = real(pattern, found);
      found->dwFileAttributes = told.dwFileAttributes;
      if (told.cFileName[0] != L'\0') std::wcscpy(found->cFileName, told.cFileName);
      return search;
   }

   static inline decltype(&FindFirstFileW) real = nullptr;
   static inline WIN32_FIND_DATAW told;
   const zerova::test::ImportPatch patch_;
};

TEST(DirectoryOfWindows, NamesMayBeJapaneseInTheFolderAndOfIt)
{
   const ScratchFolder folder;
   folder.write("\u65E5\u672C/\u672C.txt", "x");
   EXPECT_THAT(list(folder.path("\u65E5\u672C")),
               UnorderedElementsAre(Pair(".", false), Pair("..", false), Pair("\u672C.txt", true)));
}

TEST(DirectoryOfWindows, EntryIsRegularByItsAttributes)
{
   FirstEntry first;
   for (const DWORD attributes :
        {DWORD{0}, DWORD{FILE_ATTRIBUTE_NORMAL}, DWORD{FILE_ATTRIBUTE_ARCHIVE},
         DWORD{FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM},
         DWORD{FILE_ATTRIBUTE_COMPRESSED}, DWORD{FILE_ATTRIBUTE_SPARSE_FILE},
         DWORD{FILE_ATTRIBUTE_REPARSE_POINT}, DWORD{FILE_ATTRIBUTE_NOT_CONTENT_INDEXED},
         DWORD{FILE_ATTRIBUTE_NORMAL | FILE_ATTRIBUTE_TEMPORARY}})
   {
      first.setAttributes(attributes);
      EXPECT_TRUE(first.read().isRegular) << attributes;
   }
   for (const DWORD attribute : {DWORD{FILE_ATTRIBUTE_DIRECTORY}, DWORD{FILE_ATTRIBUTE_DEVICE},
                                 DWORD{FILE_ATTRIBUTE_TEMPORARY}, DWORD{FILE_ATTRIBUTE_OFFLINE},
                                 DWORD{FILE_ATTRIBUTE_ENCRYPTED}, DWORD{0x8000}, DWORD{0x20000}})
   {
      first.setAttributes(attribute | FILE_ATTRIBUTE_ARCHIVE);
      EXPECT_FALSE(first.read().isRegular) << attribute;
   }
}

// No path can lead to it.
TEST(DirectoryOfWindows, NameThatHasNoUtf8IsNotRegular)
{
   FirstEntry first;
   first.setAttributes(FILE_ATTRIBUTE_NORMAL);
   for (const wchar_t* name : {L"\xD800.txt", L"\xDC00.txt", L"\xDC00\xD800.txt", L"x\xDBFF"}) {
      first.setName(name);
      EXPECT_FALSE(first.read().isRegular) << testing::PrintToString(std::wstring(name));
   }
   first.setName(L"\xD83D\xDE00.txt");
   const platform::DirectoryEntry entry = first.read();
   EXPECT_STREQ(entry.name, "\U0001F600.txt");
   EXPECT_TRUE(entry.isRegular);
}

TEST(DirectoryOfWindows, NameLongerThanItsRoomIsCutBetweenCharactersAndNotRegular)
{
   FirstEntry first;
   first.setAttributes(FILE_ATTRIBUTE_NORMAL);
   const std::wstring longest(86, L'\u672C'); // 258 bytes, and one is left
   first.setName(longest);
   EXPECT_TRUE(first.read().isRegular);
   first.setName(longest + L'\u672C');
   const platform::DirectoryEntry entry = first.read();
   EXPECT_EQ(std::string(entry.name).size(), 258u);
   EXPECT_FALSE(entry.isRegular);
}

TEST(DirectoryOfWindows, WhatIsNoFolderIsMissing)
{
   const ScratchFolder folder;
   EXPECT_EQ(folderFailure(folder.path("no\xFF")), ENOENT);
   EXPECT_EQ(folderFailure(folder.path("what?")), ENOENT);
}

} // namespace
