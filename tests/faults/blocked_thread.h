// Tells when a thread of this process waits in the kernel for something to come.
#ifndef TESTS_FAULTS_BLOCKED_THREAD_H
#define TESTS_FAULTS_BLOCKED_THREAD_H

#include <sys/types.h>

namespace zerova::test {

// Waits until thread sleeps in a call that receives or polls, at most 30 s; false if it did not.
// What another thread does then meets a client that is really waiting.
bool waitUntilBlocked(pid_t thread);

} // namespace zerova::test

#endif
