#include "faults/process_state.h"

#include "support/open_descriptors.h"

#include <cfenv>
#include <cfloat>
#include <clocale>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <locale>
#include <new>
#include <sstream>
#include <stdexcept>

#include <io.h>
#include <sys/stat.h>
#include <windows.h>

#include <tlhelp32.h>

namespace zerova::test {

namespace {

template <typename Value>
std::string text(const Value& value)
{
   std::ostringstream out;
   out << value;
   return out.str();
}

template <typename Result, typename... Arguments>
std::string address(Result (*function)(Arguments...))
{
   return text(reinterpret_cast<std::uintptr_t>(function));
}

std::string signalHandlers()
{
   std::string all;
   for (const int number : {SIGABRT, SIGFPE, SIGILL, SIGINT, SIGSEGV, SIGTERM, SIGBREAK}) {
      const auto handler = std::signal(number, SIG_IGN);
      std::signal(number, handler);
      all += text(number) + ":" + address(handler) + " ";
   }
   return all;
}

std::string unhandledExceptionFilter()
{
   const auto filter = SetUnhandledExceptionFilter(nullptr);
   SetUnhandledExceptionFilter(filter);
   return text(reinterpret_cast<std::uintptr_t>(filter));
}

std::string fileMask()
{
   const int mask = _umask(0);
   _umask(mask);
   return text(mask);
}

std::string floatingPointControl()
{
   return text(_controlfp(0, 0));
}

std::string folderOfLibraries()
{
   char folder[MAX_PATH] = "";
   GetDllDirectoryA(sizeof folder, folder);
   return folder;
}

std::string environment()
{
   char* const block = GetEnvironmentStringsA();
   std::string all;
   for (const char* entry = block; *entry != '\0'; entry += std::strlen(entry) + 1)
      all += std::string(entry) + "\n";
   FreeEnvironmentStringsA(block);
   return all;
}

std::string processors()
{
   DWORD_PTR own = 0;
   DWORD_PTR all = 0;
   GetProcessAffinityMask(GetCurrentProcess(), &own, &all);
   return text(own) + " class " + text(GetPriorityClass(GetCurrentProcess())) + " priority " +
          text(GetThreadPriority(GetCurrentThread()));
}

std::string threads()
{
   const HANDLE all = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
   if (all == INVALID_HANDLE_VALUE) throw std::runtime_error("the system tells no threads");
   int count = 0;
   THREADENTRY32 entry{};
   entry.dwSize = sizeof entry;
   for (BOOL goesOn = Thread32First(all, &entry); goesOn; goesOn = Thread32Next(all, &entry))
      if (entry.th32OwnerProcessID == GetCurrentProcessId()) ++count;
   CloseHandle(all);
   return text(count);
}

} // namespace

std::map<std::string, std::string> processState()
{
   return {
      {"signal handlers", signalHandlers()},
      {"filter of unhandled exceptions", unhandledExceptionFilter()},
      {"error mode", text(GetErrorMode()) + " " + text(GetThreadErrorMode())},
      {"C locale", std::setlocale(LC_ALL, nullptr)},
      {"locales of threads", text(_configthreadlocale(0))},
      {"C++ locale", std::locale().name()},
      {"thread's language", text(GetThreadLocale()) + " " + text(GetThreadUILanguage())},
      {"code pages", text(GetConsoleCP()) + " " + text(GetConsoleOutputCP())},
      {"working folder", std::filesystem::current_path().string()},
      {"folder of libraries", folderOfLibraries()},
      {"file mask", fileMask()},
      {"environment", environment()},
      {"rounding mode", text(std::fegetround())},
      {"floating-point control", floatingPointControl()},
      {"processors", processors()},
      {"terminate handler", address(std::get_terminate())},
      {"new handler", address(std::get_new_handler())},
      {"invalid parameter handler", address(_get_invalid_parameter_handler())},
      {"time zone", text(_timezone)},
      {"descriptors", text(openDescriptors())},
      {"threads", threads()},
   };
}

// The one that is linked into the library has two handles for a thread that calls, until that ends or the
// library goes.
void makeWhatARuntimeKeeps(const std::function<void()>& use)
{
   use();
}

// A pipe has an event for each direction.
std::size_t descriptorsOfASession(Endpoint endpoint)
{
   return endpoint == Endpoint::local ? 3 : 1;
}

UnusualProcess::UnusualProcess()
   : restore_([rounding = std::fegetround(), mask = _umask(_S_IWRITE),
               errorMode = SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX),
               handler = std::signal(SIGTERM, SIG_IGN)] {
      std::fesetround(rounding);
      _umask(mask);
      SetErrorMode(errorMode);
      std::signal(SIGTERM, handler);
   })
{
   std::fesetround(FE_UPWARD);
}

} // namespace zerova::test
