// A child that is a copy of this process, with its memory and its descriptors.
#ifndef TESTS_FAULTS_POSIX_FORKED_COPY_H
#define TESTS_FAULTS_POSIX_FORKED_COPY_H

#include <functional>

namespace zerova::test {

// Runs action in such a child and waits for its end. False if action returned false or ended the
// child. For tests that have one thread, since the child has no other.
bool inACopyOfThisProcess(const std::function<bool()>& action);

} // namespace zerova::test

#endif
