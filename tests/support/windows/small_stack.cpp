// The system gives stacks in steps of 64 KiB, so this one is large, and the bound is held afterwards.
#include "support/small_stack.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <stdexcept>

#include <windows.h>

namespace {

constexpr unsigned char kPaint = 0xA5;
constexpr size_t kStackBytes = size_t{1} << 20;
// What the system keeps at the end of a stack for telling that it has overflowed, and more.
constexpr size_t kEndBytes = 64 * 1024;
constexpr size_t kOwnFrames = 1024;

struct Run
{
   const std::function<void()>& action;
   size_t used = 0;
};

// From the top downwards, as a stack grows page by page.
[[gnu::noinline]] const unsigned char* paintBelow(const unsigned char* top)
{
   ULONG_PTR lowest = 0;
   ULONG_PTR highest = 0;
   GetCurrentThreadStackLimits(&lowest, &highest);
   auto* const end = reinterpret_cast<volatile unsigned char*>(lowest + kEndBytes);
   auto* at = const_cast<volatile unsigned char*>(top) - kOwnFrames;
   while (at > end)
      *--at = kPaint;
   return const_cast<const unsigned char*>(end);
}

DWORD WINAPI runOn(void* context)
{
   Run& run = *static_cast<Run*>(context);
   const auto* const top = static_cast<const unsigned char*>(__builtin_frame_address(0));
   const unsigned char* const lowest = paintBelow(top);
   run.action();
   const auto isPaint = [](unsigned char byte) { return byte == kPaint; };
   const auto* const deepest = std::find_if_not(lowest, top, isPaint);
   // What lies above the paint was there before.
   run.used = top - deepest > static_cast<ptrdiff_t>(kOwnFrames)
                 ? static_cast<size_t>(top - deepest)
                 : kOwnFrames;
   return 0;
}

} // namespace

size_t stackUsedBy(size_t bytes, const std::function<void()>& action)
{
   Run run{action};
   const HANDLE thread =
      CreateThread(nullptr, kStackBytes, runOn, &run, STACK_SIZE_PARAM_IS_A_RESERVATION, nullptr);
   if (!thread) throw std::runtime_error("no thread with a small stack");
   WaitForSingleObject(thread, INFINITE);
   CloseHandle(thread);
   if (run.used > bytes) std::abort();
   return run.used;
}
