// A thread with little stack, to hold what functions need of it.
//
// Not for builds with a sanitizer: it gives every function a larger frame.
#ifndef TESTS_SUPPORT_SMALL_STACK_H
#define TESTS_SUPPORT_SMALL_STACK_H

#include <cstddef>
#include <functional>

// Runs action on a thread whose stack has bytes more than the least that the system wants of a
// thread, and returns how many bytes action used: down to the lowest that it has written. The process
// ends when that many do not do.
size_t stackUsedBy(size_t bytes, const std::function<void()>& action);

#endif
