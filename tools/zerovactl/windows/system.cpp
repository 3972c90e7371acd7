#include "tools/zerovactl/system.h"

#include "tools/zerovactl/failure.h"

#include "tools/support/windows/wide_text.h"

#include "platform/failure_text.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <system_error>
#include <thread>

#include <winsock2.h>

#include <windows.h>

namespace zerovactl {

using zerova::tools::narrowed;
using zerova::tools::widened;

namespace {

HANDLE handleOf(Stream stream)
{
   return GetStdHandle(stream == Stream::kOutput ? STD_OUTPUT_HANDLE : STD_ERROR_HANDLE);
}

bool isConsole(HANDLE handle)
{
   DWORD mode = 0;
   return GetConsoleMode(handle, &mode) != FALSE;
}

// Of the one EndRequest that there may be; the system's handler is given nothing of ours.
std::atomic<HANDLE> asked = nullptr;
std::atomic<int> lastStatus = 0;

// Runs in a thread of its own.
BOOL WINAPI onControl(DWORD event)
{
   const int status = event == CTRL_C_EVENT || event == CTRL_BREAK_EVENT ? kInterrupted
                      : event == CTRL_CLOSE_EVENT                        ? kTerminalLost
                                                                         : kAskedToEnd;
   const HANDLE waited = lastStatus.exchange(status) == 0 ? asked.load() : nullptr;
   if (!waited) TerminateProcess(GetCurrentProcess(), static_cast<UINT>(status));
   SetEvent(waited);
   // The process ends when this returns for a console that is closed.
   if (status != kInterrupted) Sleep(INFINITE);
   return TRUE;
}

// Ends with the input, or with the process.
void readInputUntilItsEnd(HANDLE ended)
{
   char bytes[256];
   DWORD count = 0;
   const HANDLE input = GetStdHandle(STD_INPUT_HANDLE);
   for (;;) {
      SetLastError(ERROR_SUCCESS);
      if (!ReadFile(input, bytes, sizeof bytes, &count, nullptr)) break;
      // A console ends a read at Ctrl-C, too, which is told in another way.
      if (count == 0 && GetLastError() != ERROR_OPERATION_ABORTED) break;
   }
   SetEvent(ended);
}

// Raised at the end of standard input; made at the first wait for it.
HANDLE inputEnded = nullptr;

bool canBeClosedByOthers(HANDLE input)
{
   return isConsole(input) || GetFileType(input) == FILE_TYPE_PIPE;
}

// Of a console a line as UTF-16, of which the rest is kept for the next call.
std::size_t readConsole(HANDLE input, char* bytes, std::size_t size)
{
   static std::string kept;
   if (kept.empty()) {
      wchar_t units[1024];
      DWORD count = 0;
      if (!ReadConsoleW(input, units, static_cast<DWORD>(std::size(units)), &count, nullptr))
         throw Failure(kFailed, "standard input cannot be read: " +
                                   systemText(static_cast<int>(GetLastError())));
      constexpr wchar_t kEnd = 0x1A; // Ctrl-Z, as the programs of this system end their input
      if (count == 0 || units[0] == kEnd) return 0;
      kept = narrowed({units, count});
   }
   const std::size_t taken = std::min(size, kept.size());
   kept.copy(bytes, taken);
   kept.erase(0, taken);
   return taken;
}

std::filesystem::path pathOfModule(HMODULE module)
{
   std::wstring path(MAX_PATH, L'\0');
   DWORD length = 0;
   while ((length = GetModuleFileNameW(module, path.data(), static_cast<DWORD>(path.size()))) ==
          path.size())
      path.resize(2 * path.size());
   path.resize(length);
   return path;
}

} // namespace

void beginProcess()
{
   SetConsoleCtrlHandler(onControl, TRUE);
}

bool isTerminal(Stream stream)
{
   return isConsole(handleOf(stream));
}

bool takesEscapes(Stream stream)
{
   constexpr DWORD kEscapes = 0x0004; // from Windows 10 on
   DWORD mode = 0;
   const HANDLE handle = handleOf(stream);
   return GetConsoleMode(handle, &mode) && SetConsoleMode(handle, mode | kEscapes);
}

// What is written to a console goes there as UTF-16.
bool terminalTakesUtf8(std::string& name)
{
   name = "UTF-16";
   return true;
}

Writing writeTo(Stream stream, std::string_view bytes, std::string& failure)
{
   const HANDLE handle = handleOf(stream);
   const bool toConsole = isConsole(handle);
   const std::wstring wide = toConsole ? widened(bytes) : std::wstring();
   // A console takes no long text in one piece.
   constexpr std::size_t kPiece = 4096;
   std::size_t at = 0;
   const std::size_t end = toConsole ? wide.size() : bytes.size();
   while (at < end) {
      const auto size = static_cast<DWORD>(std::min(kPiece, end - at));
      DWORD count = 0;
      const BOOL isDone = toConsole ? WriteConsoleW(handle, wide.data() + at, size, &count, nullptr)
                                    : WriteFile(handle, bytes.data() + at, size, &count, nullptr);
      if (!isDone) {
         const DWORD number = GetLastError();
         failure = systemText(static_cast<int>(number));
         const bool isGone = number == ERROR_NO_DATA || number == ERROR_BROKEN_PIPE;
         return isGone ? Writing::kReaderGone : Writing::kFailed;
      }
      at += count;
   }
   return Writing::kDone;
}

// Nothing tells whether a write would wait, so another thread makes it, and ends with the process.
void writeLastWords(Stream stream, const std::string& text)
{
   const HANDLE written = CreateEventW(nullptr, TRUE, FALSE, nullptr);
   if (!written) return;
   try {
      std::thread([stream, text, written] {
         std::string failure;
         if (writeTo(stream, text, failure) == Writing::kDone) SetEvent(written);
      }).detach();
   } catch (const std::system_error&) {
      return; // without a thread nothing can be said
   }
   constexpr DWORD kLongEnough = 500;
   WaitForSingleObject(written, kLongEnough);
}

std::size_t readInput(char* bytes, std::size_t size)
{
   const HANDLE input = GetStdHandle(STD_INPUT_HANDLE);
   if (isConsole(input)) return readConsole(input, bytes, size);
   DWORD count = 0;
   if (ReadFile(input, bytes, static_cast<DWORD>(size), &count, nullptr)) return count;
   const DWORD number = GetLastError();
   if (number == ERROR_BROKEN_PIPE) return 0; // as the end of a pipe is told here
   throw Failure(kFailed, "standard input cannot be read: " + systemText(static_cast<int>(number)));
}

std::string userLocale()
{
   for (const char* variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
      const char* const value = std::getenv(variable);
      if (value && *value) return value;
   }
   wchar_t name[LOCALE_NAME_MAX_LENGTH] = {};
   const LCID language = MAKELCID(GetUserDefaultUILanguage(), SORT_DEFAULT);
   const int length = LCIDToLocaleName(language, name, LOCALE_NAME_MAX_LENGTH, 0);
   return length > 0 ? narrowed(name) : std::string();
}

std::tm localTime(std::time_t time)
{
   std::tm parts = {};
   localtime_s(&parts, &time);
   return parts;
}

std::filesystem::path programPath()
{
   return pathOfModule(nullptr);
}

std::filesystem::path libraryPath()
{
   return pathOfModule(GetModuleHandleW(L"zerovaapi.dll"));
}

// As the resource in the library tells it: four numbers, of which the last is that of the build.
std::string libraryVersion()
{
   const std::wstring path = libraryPath().wstring();
   DWORD ignored = 0;
   const DWORD size = GetFileVersionInfoSizeW(path.c_str(), &ignored);
   std::vector<char> block(size);
   void* found = nullptr;
   UINT length = 0;
   if (size == 0 || !GetFileVersionInfoW(path.c_str(), 0, size, block.data()) ||
       !VerQueryValueW(block.data(), L"\\", &found, &length))
      return ZEROVACTL_VERSION;
   const auto* const info = static_cast<const VS_FIXEDFILEINFO*>(found);
   return std::to_string(HIWORD(info->dwFileVersionMS)) + "." +
          std::to_string(LOWORD(info->dwFileVersionMS)) + "." +
          std::to_string(HIWORD(info->dwFileVersionLS));
}

EndRequest::EndRequest(Input input, Again)
   : watchesInput_(input == Input::kWatched && canBeClosedByOthers(GetStdHandle(STD_INPUT_HANDLE)))
{
   const HANDLE made = CreateEventW(nullptr, TRUE, FALSE, nullptr);
   const HANDLE ended = CreateEventW(nullptr, TRUE, FALSE, nullptr);
   if (!made || !ended) throw Failure(kFailed, systemText(static_cast<int>(GetLastError())));
   asked = made;
   inputEnded = ended;
   if (watchesInput_) std::thread(readInputUntilItsEnd, ended).detach();
}

// The events stay: the input may be read, and a signal be told, until the process ends.
EndRequest::~EndRequest()
{
   asked = nullptr;
}

EndRequest::Cause EndRequest::wait(std::chrono::milliseconds time, platform::Handle other) const
{
   HANDLE waits[3] = {asked, inputEnded};
   DWORD count = 2;
   if (other != platform::kInvalidHandle) waits[count++] = reinterpret_cast<HANDLE>(other);
   const auto limit = static_cast<DWORD>(time.count());
   switch (WaitForMultipleObjects(count, waits, FALSE, limit)) {
   case WAIT_OBJECT_0:
      return Cause::kSignal;
   case WAIT_OBJECT_0 + 1:
      return Cause::kInputEnded;
   case WAIT_OBJECT_0 + 2:
      return Cause::kOther;
   default:
      return Cause::kNone;
   }
}

void EndRequest::forgetSignal()
{
   lastStatus = 0;
   ResetEvent(asked);
}

int EndRequest::exitStatus()
{
   return lastStatus;
}

int lastSocketFailure()
{
   return WSAGetLastError();
}

int pendingFailure(platform::Socket socket)
{
   int failure = 0;
   int size = sizeof failure;
   getsockopt(static_cast<SOCKET>(socket), SOL_SOCKET, SO_ERROR, reinterpret_cast<char*>(&failure),
              &size);
   return failure;
}

std::string systemText(int number)
{
   char text[platform::kFailureTextSize];
   if (!platform::systemFailureText(static_cast<std::uint32_t>(number), text))
      return "failure " + std::to_string(number);
   text[std::strcspn(text, "\r\n")] = '\0';
   return text;
}

std::string timeOutText()
{
   return systemText(ERROR_TIMEOUT);
}

std::string settingsRoot()
{
   return "HKEY_LOCAL_MACHINE";
}

std::string settingPlace(const std::string& key, const std::string& name, bool of32Bit)
{
   const std::string place = "HKEY_LOCAL_MACHINE\\" + key + "\\" + name;
   return of32Bit ? place + " (view of 32-bit programs)" : place;
}

std::vector<std::string> settingNames(const std::string& key, bool of32Bit)
{
   std::vector<std::string> names;
   HKEY handle = nullptr;
   const REGSAM access = KEY_READ | (of32Bit ? KEY_WOW64_32KEY : 0u);
   if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, widened(key).c_str(), 0, access, &handle) != 0)
      return names;
   std::vector<wchar_t> name(32768); // no name of a value is longer
   for (DWORD i = 0;; ++i) {
      auto length = static_cast<DWORD>(name.size());
      if (RegEnumValueW(handle, i, name.data(), &length, nullptr, nullptr, nullptr, nullptr) != 0)
         break;
      names.push_back(narrowed({name.data(), length}));
   }
   RegCloseKey(handle);
   return names;
}

} // namespace zerovactl
