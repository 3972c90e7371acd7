// A program that runs beside the test, each telling the other by single bytes that it may go on.
#ifndef TESTS_SUPPORT_CHILD_PROCESS_H
#define TESTS_SUPPORT_CHILD_PROCESS_H

#include <cstdint>
#include <string>
#include <vector>

// It begins at once. Of what this process has open it inherits standard error alone; its standard input
// and output are the test's. What the system refuses throws std::runtime_error.
class ChildProcess
{
public:
   // words: the program's file and its arguments.
   explicit ChildProcess(const std::vector<std::string>& words);
   // Ends its input and waits until it has ended.
   ~ChildProcess();
   ChildProcess(const ChildProcess&) = delete;
   ChildProcess& operator=(const ChildProcess&) = delete;

   void tell();
   bool waitToBeTold(); // false: it has ended its output

   void freeze(); // it keeps all that it has and does nothing
   void kill();   // at once, with nothing that it could do about it; returns when it is gone

private:
   std::intptr_t process_ = 0;
   std::intptr_t toChild_ = 0;
   std::intptr_t fromChild_ = 0;
};

#endif
