// What a library could change of the process that loads it.
#ifndef TESTS_FAULTS_PROCESS_STATE_H
#define TESTS_FAULTS_PROCESS_STATE_H

#include <map>
#include <string>

namespace zerova::test {

// By what it is. Descriptors are told by number and by what they are open on.
std::map<std::string, std::string> processState();

} // namespace zerova::test

#endif
