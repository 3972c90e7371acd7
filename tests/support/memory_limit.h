// A bound on the memory that there is. A sanitizer cannot live within one, so this is for tests that run
// without.
#ifndef TESTS_SUPPORT_MEMORY_LIMIT_H
#define TESTS_SUPPORT_MEMORY_LIMIT_H

#include <cstddef>
#include <memory>

namespace zerova::test {

// As long as it lives the process can have that many bytes more than it had when it began; where the
// system bounds no process, the built library can.
class MemoryLimit
{
public:
   explicit MemoryLimit(size_t room);
   MemoryLimit(const MemoryLimit&) = delete;
   MemoryLimit& operator=(const MemoryLimit&) = delete;
   ~MemoryLimit();

private:
   struct Bound;
   const std::unique_ptr<Bound> bound_;
};

} // namespace zerova::test

#endif
