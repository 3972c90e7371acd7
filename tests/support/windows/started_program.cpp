#include "support/windows/started_program.h"

namespace zerova::test {

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

bool makePipe(HANDLE& from, HANDLE& to, const HANDLE& here)
{
   SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
   return CreatePipe(&from, &to, &inherited, 0) &&
          SetHandleInformation(here, HANDLE_FLAG_INHERIT, 0);
}

} // namespace

std::wstring wide(const std::string& text)
{
   const int size = static_cast<int>(text.size());
   std::wstring units(text.size(), L'\0');
   const int length = MultiByteToWideChar(CP_UTF8, 0, text.data(), size, units.data(), size);
   units.resize(static_cast<size_t>(length));
   return units;
}

bool makePipeToRead(HANDLE& here, HANDLE& ofProgram)
{
   return makePipe(here, ofProgram, here);
}

bool makePipeToWrite(HANDLE& here, HANDLE& ofProgram)
{
   return makePipe(ofProgram, here, here);
}

HANDLE startProgram(const std::vector<std::string>& words, HANDLE input, HANDLE output,
                    HANDLE error)
{
   std::string line;
   for (const std::string& word : words)
      line += quoted(word);
   STARTUPINFOW start{};
   start.cb = sizeof start;
   start.dwFlags = STARTF_USESTDHANDLES;
   start.hStdInput = input;
   start.hStdOutput = output;
   start.hStdError = error;
   PROCESS_INFORMATION made{};
   if (!CreateProcessW(nullptr, wide(line).data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr,
                       &start, &made))
      return nullptr;
   CloseHandle(made.hThread);
   return made.hProcess;
}

} // namespace zerova::test
