#include "support/program_outcome.h"

#include "support/windows/started_program.h"

#include <algorithm>
#include <array>

namespace {

using zerova::test::makePipeToRead;
using zerova::test::startProgram;
using zerova::test::wide;

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
   HANDLE output = nullptr;
   HANDLE ofProgram = nullptr;
   if (!makePipeToRead(output, ofProgram)) return {-1, "no pipe"};
   SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
   const HANDLE file = CreateFileW(wide(input.empty() ? "NUL" : input).c_str(), GENERIC_READ,
                                   FILE_SHARE_READ, &inherited, OPEN_EXISTING, 0, nullptr);
   const HANDLE program = startProgram(words, file, ofProgram, ofProgram);
   CloseHandle(file);
   CloseHandle(ofProgram);
   ProgramOutcome outcome{-1, "could not be started"};
   if (program) {
      outcome.output = readAll(output);
      WaitForSingleObject(program, INFINITE);
      DWORD code = 0;
      GetExitCodeProcess(program, &code);
      outcome.exitCode = static_cast<int>(code);
      CloseHandle(program);
   }
   CloseHandle(output);
   return outcome;
}
