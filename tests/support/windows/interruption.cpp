#include "support/interruption.h"

#include <stdexcept>

#include <windows.h>

std::atomic<int> Interruption::taken{0};

struct Interruption::System
{
   HANDLE target = nullptr;
};

namespace {

void CALLBACK doNothing(ULONG_PTR) {}

} // namespace

Interruption::Interruption()
   : system_(std::make_unique<System>())
{
   taken = 0;
   if (!DuplicateHandle(GetCurrentProcess(), GetCurrentThread(), GetCurrentProcess(),
                        &system_->target, 0, FALSE, DUPLICATE_SAME_ACCESS))
      throw std::runtime_error("a thread cannot be interrupted");
}

Interruption::~Interruption()
{
   CloseHandle(system_->target);
}

// A thread stops some time after it was told to, and has stopped when its registers can be seen.
void Interruption::send() const
{
   CONTEXT registers{};
   registers.ContextFlags = CONTEXT_CONTROL;
   const bool hasStopped = SuspendThread(system_->target) != static_cast<DWORD>(-1) &&
                           GetThreadContext(system_->target, &registers);
   const bool goesOn = ResumeThread(system_->target) != static_cast<DWORD>(-1);
   if (hasStopped && goesOn && QueueUserAPC(doNothing, system_->target, 0)) ++taken;
}
