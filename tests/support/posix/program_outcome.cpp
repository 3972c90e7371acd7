#include "support/program_outcome.h"

#include <array>
#include <cstdio>

#include <sys/wait.h>

namespace {

// As a shell takes it for one word, whatever it holds.
std::string quoted(const std::string& word)
{
   std::string text = "'";
   for (const char c : word)
      text += c == '\'' ? "'\\''" : std::string(1, c);
   return text + "' ";
}

} // namespace

ProgramOutcome runProgram(const std::vector<std::string>& words, const std::string& input)
{
   std::string command;
   for (const std::string& word : words)
      command += quoted(word);
   command += "< " + quoted(input.empty() ? "/dev/null" : input) + "2>&1";
   FILE* const pipe = popen(command.c_str(), "r");
   if (!pipe) return {-1, "could not be started"};
   ProgramOutcome outcome{};
   std::array<char, 4096> piece;
   while (const size_t length = fread(piece.data(), 1, piece.size(), pipe))
      outcome.output.append(piece.data(), length);
   const int end = pclose(pipe);
   outcome.exitCode = WIFEXITED(end) ? WEXITSTATUS(end) : 128 + WTERMSIG(end);
   return outcome;
}
