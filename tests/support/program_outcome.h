// Runs a program as people run it, and keeps what it told.
#ifndef TESTS_SUPPORT_PROGRAM_OUTCOME_H
#define TESTS_SUPPORT_PROGRAM_OUTCOME_H

#include <array>
#include <cstdio>
#include <string>

#include <sys/wait.h>

struct ProgramOutcome
{
   int exitCode;       // -1 if it could not be started; 128 and more if a signal ended it
   std::string output; // of both streams
};

// command: as a shell takes it.
inline ProgramOutcome runProgram(const std::string& command)
{
   FILE* const pipe = popen(("( " + command + " ) 2>&1").c_str(), "r");
   if (!pipe) return {-1, "could not be started"};
   ProgramOutcome outcome{};
   std::array<char, 4096> piece;
   while (const size_t length = fread(piece.data(), 1, piece.size(), pipe))
      outcome.output.append(piece.data(), length);
   const int end = pclose(pipe);
   outcome.exitCode = WIFEXITED(end) ? WEXITSTATUS(end) : 128 + WTERMSIG(end);
   return outcome;
}

#endif
