// What programs are started with here.
#ifndef TESTS_SUPPORT_WINDOWS_STARTED_PROGRAM_H
#define TESTS_SUPPORT_WINDOWS_STARTED_PROGRAM_H

#include <string>
#include <vector>

#include <windows.h>

namespace zerova::test {

// The units of a text in UTF-8.
std::wstring wide(const std::string& text);

// A pipe of which a program inherits one end. False if there is none.
bool makePipeToRead(HANDLE& here, HANDLE& ofProgram);
bool makePipeToWrite(HANDLE& here, HANDLE& ofProgram);

// words: the program's file and its arguments. Null if it cannot be started; else its handle, which is
// the caller's to close. The three streams stay the caller's, too.
HANDLE startProgram(const std::vector<std::string>& words, HANDLE input, HANDLE output,
                    HANDLE error);

} // namespace zerova::test

#endif
