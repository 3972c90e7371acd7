// What a library could change of the process that loads it.
#ifndef TESTS_FAULTS_PROCESS_STATE_H
#define TESTS_FAULTS_PROCESS_STATE_H

#include "faults/endpoint.h"

#include <cstddef>
#include <functional>
#include <map>
#include <string>

namespace zerova::test {

// By what it is. What is open is told as exactly as the system tells it.
std::map<std::string, std::string> processState();

// Has use make what the runtime of a library keeps for a process and a thread that use it, and does
// nothing where that is nothing.
void makeWhatARuntimeKeeps(const std::function<void()>& use);

// What one holds that is open.
std::size_t descriptorsOfASession(Endpoint endpoint);

// Has values that a library might take for granted be others, for as long as it lives.
class UnusualProcess
{
public:
   UnusualProcess();
   ~UnusualProcess() { restore_(); }
   UnusualProcess(const UnusualProcess&) = delete;
   UnusualProcess& operator=(const UnusualProcess&) = delete;

private:
   const std::function<void()> restore_;
};

} // namespace zerova::test

#endif
