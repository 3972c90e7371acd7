// The descriptors or handles of this process, to see that something leaves none open.
#ifndef TESTS_SUPPORT_OPEN_DESCRIPTORS_H
#define TESTS_SUPPORT_OPEN_DESCRIPTORS_H

#include <chrono>
#include <cstddef>
#include <thread>

// Their number.
size_t openDescriptors();
// Of these, how many a child process gets.
size_t inheritedDescriptors();

// Of the three that a program begins with, counted from 0.
bool isStandardStreamOpen(int number);

// What the threads of servers in this process may still have when they have closed all of theirs,
// until they are joined.
extern const size_t kOpenForThreads;

// Whether there are no more than count, once the servers in other threads have closed theirs.
inline bool descriptorsComeDownTo(size_t count)
{
   count += kOpenForThreads;
   const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(30);
   while (openDescriptors() > count) {
      if (std::chrono::steady_clock::now() > limit) return false;
      std::this_thread::yield();
   }
   return true;
}

#endif
