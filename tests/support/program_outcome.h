// Runs a program as people run it, and keeps what it told.
#ifndef TESTS_SUPPORT_PROGRAM_OUTCOME_H
#define TESTS_SUPPORT_PROGRAM_OUTCOME_H

#include <string>
#include <vector>

struct ProgramOutcome
{
   int exitCode;       // -1 if it could not be started; 128 and more if a signal ended it
   std::string output; // of both streams, its line ends as one character
};

// words: the program's file and its arguments. input: the file that is its standard input; empty for
// none.
ProgramOutcome runProgram(const std::vector<std::string>& words, const std::string& input = "");

#endif
