#include "support/interruption.h"

#include <csignal>

#include <pthread.h>

std::atomic<int> Interruption::taken{0};

struct Interruption::System
{
   const pthread_t target = pthread_self();
   struct sigaction previous = {};
};

Interruption::Interruption()
   : system_(std::make_unique<System>())
{
   taken = 0;
   struct sigaction counting = {};
   counting.sa_handler = [](int) { ++taken; };
   sigaction(SIGUSR1, &counting, &system_->previous);
}

Interruption::~Interruption()
{
   sigaction(SIGUSR1, &system_->previous, nullptr);
}

void Interruption::send() const
{
   pthread_kill(system_->target, SIGUSR1);
}
