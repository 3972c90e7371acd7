// Tells when a thread of this process waits in the system for something to come.
#ifndef TESTS_FAULTS_BLOCKED_THREAD_H
#define TESTS_FAULTS_BLOCKED_THREAD_H

#include <cstdint>

namespace zerova::test {

using ThreadNumber = std::uint64_t;

// Of the calling thread.
ThreadNumber ownThreadNumber();

// Waits until a call of the library's on the thread sleeps until something can be received, at most
// 30 s; false if it did not. What another thread does then meets a client that is really waiting: also
// when it is done again, once the client has had what it waited for.
bool waitUntilBlocked(ThreadNumber thread);

} // namespace zerova::test

#endif
