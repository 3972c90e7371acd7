// What the layer of this system gives the logic.
#include "platform/clock.h"
#include "platform/failure_text.h"
#include "platform/local_pipe.h"
#include "platform/settings_tree.h"
#include "platform/standard_folders.h"
#include "platform/thread_pointer.h"
#include "support/windows/import_patch.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <windows.h>

#include <cerrno>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

namespace {

using testing::AnyOf;
using testing::StrEq;

TEST(FailureText, SystemsNumbersAndThoseOfErrnoAreTwoThings)
{
   char ofSystem[platform::kFailureTextSize] = "";
   char ofErrno[platform::kFailureTextSize] = "";
   ASSERT_TRUE(platform::systemFailureText(ENAMETOOLONG, ofSystem));
   ASSERT_TRUE(platform::errnoText(ENAMETOOLONG, ofErrno));
   EXPECT_STRNE(ofSystem, ofErrno);
   EXPECT_THAT(ofErrno, AnyOf(StrEq("Filename too long"), StrEq("File name too long")));
   EXPECT_FALSE(platform::systemFailureText(0x7FFFFFFF, ofSystem));
}

const uint16_t* units(const wchar_t* text)
{
   return reinterpret_cast<const uint16_t*>(text);
}

// Values of all kinds, in the view of 32-bit programs alone.
class Settings : public testing::Test
{
protected:
   Settings()
   {
      EXPECT_EQ(RegCreateKeyExW(HKEY_LOCAL_MACHINE, kKey, 0, nullptr, 0,
                                KEY_ALL_ACCESS | KEY_WOW64_32KEY, nullptr, &key_, nullptr),
                ERROR_SUCCESS);
   }
   ~Settings() override
   {
      RegCloseKey(key_);
      RegDeleteKeyExW(HKEY_LOCAL_MACHINE, kKey, KEY_WOW64_32KEY, 0);
   }

   void set(DWORD type, const void* bytes, size_t size)
   {
      EXPECT_EQ(RegSetValueExW(key_, L"Value", 0, type, static_cast<const BYTE*>(bytes),
                               static_cast<DWORD>(size)),
                ERROR_SUCCESS);
   }

   // The result, and the size told.
   static uint32_t read(uint32_t access, uint32_t& size)
   {
      platform::SettingsKeyHandle key = 0;
      const uint32_t failure = platform::openSettingsKey(units(kKey), access, &key);
      if (failure) return failure;
      uint16_t room[256];
      size = sizeof room;
      const uint32_t result = platform::readSettingsValue(key, units(L"Value"), room, &size);
      platform::closeSettingsKey(key);
      return result;
   }

   static constexpr const wchar_t* kKey = L"SOFTWARE\\ZerovaTest";
   static constexpr uint32_t kIn32Bit = platform::kSettingsRead | platform::kSettingsOf32Bit;
   HKEY key_ = nullptr;
};

TEST_F(Settings, ViewOf32BitProgramsIsApart)
{
   set(REG_SZ, L"a", 4);
   uint32_t size = 0;
   EXPECT_EQ(read(kIn32Bit, size), 0u);
   EXPECT_EQ(size, 4u);
   EXPECT_EQ(read(platform::kSettingsRead, size), 2u);
}

TEST_F(Settings, TypeAndTerminatorDoNotMatter)
{
   uint32_t size = 0;
   set(REG_SZ, L"ab", 4); // without one
   EXPECT_EQ(read(kIn32Bit, size), 0u);
   EXPECT_THAT(size, AnyOf(4u, 6u)); // the system may put one behind the text
   set(REG_BINARY, "abc", 3);
   EXPECT_EQ(read(kIn32Bit, size), 0u);
   EXPECT_EQ(size, 3u);
}

TEST_F(Settings, ValueWithoutRoomTellsItsSize)
{
   const std::wstring text(300, L'x');
   set(REG_SZ, text.c_str(), 602);
   uint32_t size = 0;
   EXPECT_EQ(read(kIn32Bit, size), platform::kMoreData);
   EXPECT_EQ(size, 602u);
}

TEST_F(Settings, MissingValueIsNumber2)
{
   uint32_t size = 0;
   EXPECT_EQ(read(kIn32Bit, size), 2u);
}

TEST(Clock, StepIsRoundedUp)
{
   DWORD adjustment = 0;
   DWORD step = 0;
   BOOL isDisabled = FALSE;
   ASSERT_TRUE(GetSystemTimeAdjustment(&adjustment, &step, &isDisabled));
   EXPECT_GE(platform::clockTickMs() * 10000, int64_t{step});
}

TEST(StandardFolders, AreThoseOfTheSystem)
{
   uint16_t path[platform::kFolderPathUnits] = {};
   EXPECT_EQ(platform::folderPath(platform::kCommonDataFolder, path), 0);
   EXPECT_NE(path[0], 0);
   EXPECT_LT(platform::folderPath(0x7FFF, path), 0);
   uint16_t folder[1] = {};
   const size_t wanted = platform::temporaryFolder(folder, 1);
   EXPECT_GT(wanted, 1u);
   std::vector<uint16_t> whole(wanted);
   EXPECT_EQ(platform::temporaryFolder(whole.data(), whole.size()), wanted - 1);
}

TEST(ThreadPointer, IsEachThreadsOwn)
{
   int own = 0;
   platform::setThreadPointer(&own);
   std::thread([] { EXPECT_EQ(platform::threadPointer(), nullptr); }).join();
   EXPECT_EQ(platform::threadPointer(), &own);
   platform::setThreadPointer(nullptr);
}

BOOL WINAPI refuseToKeep(DWORD, void*)
{
   SetLastError(ERROR_NOT_ENOUGH_MEMORY);
   return FALSE;
}

// The system's own slots can be taken, and some of them take memory of a thread at its first use.
TEST(ThreadPointer, NeedsNoSlotOfTheSystem)
{
   int own = 0;
   {
      const zerova::test::ImportPatch patch("TlsSetValue", refuseToKeep, zerova::test::kProgram);
      platform::setThreadPointer(&own);
   }
   EXPECT_EQ(platform::threadPointer(), &own);
   platform::setThreadPointer(nullptr);
}

// A transfer that nobody answers is under way until it is cancelled, and is over then.
TEST(PipeTransfer, CancelledOneHasEnded)
{
   const char* const name = "\\\\.\\pipe\\zerova.test.cancelled";
   const HANDLE server =
      CreateNamedPipeA(name, PIPE_ACCESS_DUPLEX, PIPE_TYPE_BYTE, 1, 4096, 4096, 0, nullptr);
   ASSERT_NE(server, INVALID_HANDLE_VALUE);
   platform::PipeOpener opener(name);
   const platform::OpenedPipe opened = opener.open(0);
   ASSERT_EQ(opened.result, platform::PipeOpening::opened) << opened.error;
   EXPECT_EQ(platform::PipeOpener(name).open(0).result, platform::PipeOpening::busy);
   EXPECT_FALSE(platform::PipeOpener(name).waitWhileBusy(50));
   platform::Handle event = platform::kInvalidHandle;
   ASSERT_EQ(platform::createEvent(event), 0);
   platform::PipeTransfer transfer{event};
   char byte = 0;
   ASSERT_EQ(platform::startRead(opened.pipe, &byte, 1, transfer), 0);
   EXPECT_EQ(platform::waitForTransfer(transfer, 20).result, platform::TransferWait::timedOut);
   platform::raiseEvent(event);
   platform::cancelTransfer(opened.pipe, transfer);
   uint32_t count = 0;
   EXPECT_EQ(platform::finishTransfer(opened.pipe, transfer, false, count),
             ERROR_OPERATION_ABORTED);
   platform::closeEvent(event);
   platform::closePipe(opened.pipe);
   CloseHandle(server);
}

} // namespace
