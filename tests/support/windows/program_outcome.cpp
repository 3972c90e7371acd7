#include "support/program_outcome.h"

#include <algorithm>
#include <array>

#include <windows.h>

namespace {

// The C library of a program takes its words apart again: a quote is written behind a backslash, and
// so is each backslash in front of one.
std::string quoted(const std::string& word)
{
   std::string text = "\"";
   size_t backslashes = 0;
   for (const char c : word) {
      if (c == '"') text.append(backslashes + 1, '\\');
      backslashes = c == '\\' ? backslashes + 1 : 0;
      text += c;
   }
   return text.append(backslashes, '\\') + "\" ";
}

std::wstring wide(const std::string& text)
{
   const int size = static_cast<int>(text.size());
   std::wstring units(text.size(), L'\0');
   const int length = MultiByteToWideChar(CP_UTF8, 0, text.data(), size, units.data(), size);
   units.resize(static_cast<size_t>(length));
   return units;
}

std::string readAll(HANDLE pipe)
{
   std::string text;
   std::array<char, 4096> piece;
   DWORD count = 0;
   while (ReadFile(pipe, piece.data(), piece.size(), &count, nullptr) && count > 0)
      text.append(piece.data(), count);
   text.erase(std::remove(text.begin(), text.end(), '\r'), text.end());
   return text;
}

} // namespace

ProgramOutcome runProgram(const std::vector<std::string>& words, const std::string& input)
{
   std::string line;
   for (const std::string& word : words)
      line += quoted(word);
   SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
   HANDLE output = nullptr;
   STARTUPINFOW start{};
   start.cb = sizeof start;
   start.dwFlags = STARTF_USESTDHANDLES;
   start.hStdInput = CreateFileW(wide(input.empty() ? "NUL" : input).c_str(), GENERIC_READ,
                                 FILE_SHARE_READ, &inherited, OPEN_EXISTING, 0, nullptr);
   if (!CreatePipe(&output, &start.hStdOutput, &inherited, 0)) return {-1, "no pipe"};
   SetHandleInformation(output, HANDLE_FLAG_INHERIT, 0);
   start.hStdError = start.hStdOutput;
   PROCESS_INFORMATION made{};
   const bool isStarted = CreateProcessW(nullptr, wide(line).data(), nullptr, nullptr, TRUE, 0,
                                         nullptr, nullptr, &start, &made) != FALSE;
   CloseHandle(start.hStdInput);
   CloseHandle(start.hStdOutput);
   ProgramOutcome outcome{-1, "could not be started"};
   if (isStarted) {
      outcome.output = readAll(output);
      WaitForSingleObject(made.hProcess, INFINITE);
      DWORD code = 0;
      GetExitCodeProcess(made.hProcess, &code);
      outcome.exitCode = static_cast<int>(code);
      CloseHandle(made.hThread);
      CloseHandle(made.hProcess);
   }
   CloseHandle(output);
   return outcome;
}
