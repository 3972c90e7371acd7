#include "tools/simulator/graphviz.h"

#include "tools/support/windows/wide_text.h"

#include <windows.h>

#include <process.h>

#include <cerrno>
#include <stdexcept>
#include <system_error>

namespace zerova::simulator {

Drawing drawByGraphviz(const std::string& text, const std::string& picture,
                       const Patience& patience)
{
   constexpr DWORD kLookEveryMs = 50;
   // What is started gets the words as one text, and takes it apart at blanks.
   const std::wstring to = tools::widened("-o\"" + picture + "\"");
   const std::wstring from = tools::widened("\"" + text + "\"");
   const intptr_t started =
      _wspawnlp(_P_NOWAIT, L"dot", L"dot", L"-Tsvg", to.c_str(), from.c_str(), nullptr);
   if (started == -1 && errno == ENOENT) return Drawing::kNoGraphviz;
   if (started == -1)
      throw std::runtime_error("cannot start dot: " + std::generic_category().message(errno));
   const HANDLE process = reinterpret_cast<HANDLE>(started);
   DWORD waited = WAIT_TIMEOUT;
   while (waited == WAIT_TIMEOUT && !patience.isOver())
      waited = WaitForSingleObject(process, kLookEveryMs);
   DWORD status = 1;
   if (waited == WAIT_TIMEOUT) TerminateProcess(process, 1);
   WaitForSingleObject(process, INFINITE);
   GetExitCodeProcess(process, &status);
   CloseHandle(process);
   if (waited == WAIT_TIMEOUT) return Drawing::kTookTooLong;
   return status == 0 ? Drawing::kDone : Drawing::kFailed;
}

} // namespace zerova::simulator
