// Watches what the calling thread asks of operator new.
//
// A program that links zerova_heap_watch has an operator new of its own, for its own code and for
// every library that it loads, also under a sanitizer. It asks malloc, so a FailingMalloc sees
// these requests as well. Where the built library has operators of its own, all that it asks of malloc
// is seen instead, and a request that fails makes its operator new throw std::bad_alloc.
#ifndef TESTS_SUPPORT_HEAP_WATCH_H
#define TESTS_SUPPORT_HEAP_WATCH_H

#include <cstddef>

namespace zerova::test {

// Counts from its construction to its destruction, on its thread alone. One at a time. Keep the
// test's own work out of its scope.
class HeapWatch
{
public:
   HeapWatch();
   ~HeapWatch();
   HeapWatch(const HeapWatch&) = delete;
   HeapWatch& operator=(const HeapWatch&) = delete;

   // The n-th request from now, counted from 1, throws std::bad_alloc or what raise throws.
   void failNth(std::size_t n) { failNth(n, nullptr); }
   void failNth(std::size_t n, void (*raise)());
   // Each request for more than that throws std::bad_alloc from now on.
   void failAbove(std::size_t bytes);
   bool hasFailed() const; // whether it came to that

   std::size_t count() const;    // requests
   std::size_t largest() const;  // bytes of the largest
   std::size_t peak() const;     // most bytes in use at once, beyond those at the start
   std::ptrdiff_t inUse() const; // bytes in use now, beyond those at the start
};

} // namespace zerova::test

#endif
