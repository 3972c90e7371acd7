#include "support/small_stack.h"

#include <pthread.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <stdexcept>

namespace {

constexpr unsigned char kPaint = 0xA5;

struct Run
{
   const std::function<void()>& action;
   const unsigned char* lowest; // of the stack
   size_t used = 0;
};

void* runOn(void* context)
{
   Run& run = *static_cast<Run*>(context);
   const auto* const top = static_cast<const unsigned char*>(__builtin_frame_address(0));
   run.action();
   const auto isPaint = [](unsigned char byte) { return byte == kPaint; };
   const auto* const deepest = std::find_if_not(run.lowest, top, isPaint);
   run.used = static_cast<size_t>(top - deepest);
   return nullptr;
}

size_t leastStack()
{
   // With a current C library a call, and long.
   return static_cast<size_t>(PTHREAD_STACK_MIN);
}

// Memory for a stack of exactly size bytes, with a page below it that cannot be touched.
class StackMemory
{
public:
   explicit StackMemory(size_t size)
      : page_(static_cast<size_t>(sysconf(_SC_PAGESIZE)))
      , whole_(page_ + size)
      , block_(mmap(nullptr, whole_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0))
   {
      if (block_ == MAP_FAILED || mprotect(block_, page_, PROT_NONE) != 0)
         throw std::runtime_error("no memory for a stack");
      std::memset(lowest(), kPaint, size);
   }
   ~StackMemory() { munmap(block_, whole_); }
   StackMemory(const StackMemory&) = delete;
   StackMemory& operator=(const StackMemory&) = delete;

   unsigned char* lowest() const { return static_cast<unsigned char*>(block_) + page_; }

private:
   size_t page_;
   size_t whole_;
   void* block_;
};

} // namespace

size_t stackUsedBy(size_t bytes, const std::function<void()>& action)
{
   const size_t size = leastStack() + bytes;
   const StackMemory memory(size);
   Run run{action, memory.lowest()};
   pthread_attr_t attributes;
   pthread_attr_init(&attributes);
   pthread_t thread{};
   const bool runs = pthread_attr_setstack(&attributes, memory.lowest(), size) == 0 &&
                     pthread_create(&thread, &attributes, runOn, &run) == 0;
   pthread_attr_destroy(&attributes);
   if (!runs) throw std::runtime_error("no thread with a small stack");
   pthread_join(thread, nullptr);
   return run.used;
}
