// What is between the logic and the system alike on all systems. The linker leads the calls of the
// program's objects to the functions with __wrap_ in front; the build tells their names.
#include "unit/transport/system_faults.h"

#include "platform/local_pipe.h"
#include "platform/socket.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>

#define ZEROVA_JOIN(one, other) one##other
#define ZEROVA_REAL(name) ZEROVA_JOIN(__real_, name)
#define ZEROVA_WRAP(name) ZEROVA_JOIN(__wrap_, name)

namespace faults {
namespace {

// The holder of an object of which there is one at a time. Another thread has none.
template <typename Held>
class OfOneThread
{
public:
   void hold(Held held)
   {
      held_ = std::move(held);
      holder_ = std::this_thread::get_id();
   }
   void drop() { holder_ = std::thread::id(); }
   Held* get() { return holder_.load() == std::this_thread::get_id() ? &held_ : nullptr; }

private:
   std::atomic<std::thread::id> holder_ = std::thread::id(); // of none
   Held held_{};
};

struct Ticks
{
   uint32_t next;
   uint32_t step;
};

OfOneThread<Ticks> ticks;
OfOneThread<std::vector<std::string>> steps;

// Of several threads.
struct Meeting
{
   std::mutex lock;
   std::condition_variable change;
   std::atomic<bool> isHeld = false;
   int arrived = 0;

   // Takes the lock for no other test: it would put the threads in an order of its own.
   void attend()
   {
      if (!isHeld.load(std::memory_order_relaxed)) return;
      std::unique_lock<std::mutex> guard(lock);
      ++arrived;
      change.notify_all();
      change.wait_for(guard, std::chrono::milliseconds(200), [this] { return arrived > 1; });
   }
   void begin()
   {
      const std::lock_guard<std::mutex> guard(lock);
      arrived = 0;
      isHeld = true;
   }
   void end()
   {
      const std::lock_guard<std::mutex> guard(lock);
      isHeld = false;
   }
};

Meeting makers;
std::atomic<std::intptr_t> wakeSocket{platform::kInvalidSocket};

Meeting finishers; // arrived: 1 for one that may wait, -1 for one that may not

} // namespace

SteppedTicks::SteppedTicks(uint32_t first, uint32_t step)
{
   ticks.hold({first, step});
}

SteppedTicks::~SteppedTicks()
{
   ticks.drop();
}

PipeSteps::PipeSteps()
{
   steps.hold({});
}

PipeSteps::~PipeSteps()
{
   steps.drop();
}

std::vector<std::string> PipeSteps::taken()
{
   return std::exchange(*steps.get(), {});
}

void noteStep(const char* step)
{
   if (auto* const noted = steps.get()) noted->emplace_back(step);
}

SlowWakeSockets::SlowWakeSockets()
{
   makers.begin();
}

SlowWakeSockets::~SlowWakeSockets()
{
   makers.end();
}

int SlowWakeSockets::made() const
{
   const std::lock_guard<std::mutex> guard(makers.lock);
   return makers.arrived;
}

std::intptr_t lastWakeSocket()
{
   return wakeSocket;
}

WatchedFinish::WatchedFinish()
{
   finishers.begin();
}

WatchedFinish::~WatchedFinish()
{
   finishers.end();
}

bool WatchedFinish::waitUntilItMayWait()
{
   std::unique_lock<std::mutex> guard(finishers.lock);
   finishers.change.wait_for(guard, std::chrono::seconds(30),
                             [] { return finishers.arrived != 0; });
   return finishers.arrived > 0;
}

} // namespace faults

extern "C" {

// platform::tickCount()
uint32_t ZEROVA_REAL(TICK_COUNT)();
uint32_t ZEROVA_WRAP(TICK_COUNT)()
{
   faults::Ticks* const stepped = faults::ticks.get();
   if (!stepped) return ZEROVA_REAL(TICK_COUNT)();
   const uint32_t now = stepped->next;
   stepped->next += stepped->step;
   return now;
}

// platform::createWakeSocket()
platform::Socket ZEROVA_REAL(CREATE_WAKE_SOCKET)();
platform::Socket ZEROVA_WRAP(CREATE_WAKE_SOCKET)()
{
   faults::makers.attend();
   return faults::wakeSocket = ZEROVA_REAL(CREATE_WAKE_SOCKET)();
}

// platform::raiseEvent(Handle)
void ZEROVA_REAL(RAISE_EVENT)(platform::Handle event);
void ZEROVA_WRAP(RAISE_EVENT)(platform::Handle event)
{
   faults::noteStep("event raised");
   ZEROVA_REAL(RAISE_EVENT)(event);
}

// platform::finishTransfer(Handle, PipeTransfer&, bool, uint32_t&)
int ZEROVA_REAL(FINISH_TRANSFER)(platform::Handle pipe, platform::PipeTransfer& transfer,
                                 bool block, uint32_t& count);
int ZEROVA_WRAP(FINISH_TRANSFER)(platform::Handle pipe, platform::PipeTransfer& transfer,
                                 bool block, uint32_t& count)
{
   if (faults::finishers.isHeld) {
      const std::lock_guard<std::mutex> guard(faults::finishers.lock);
      faults::finishers.arrived = block ? 1 : -1;
      faults::finishers.change.notify_all();
   }
   return ZEROVA_REAL(FINISH_TRANSFER)(pipe, transfer, block, count);
}

// platform::cancelTransfer(Handle, PipeTransfer&)
void ZEROVA_REAL(CANCEL_TRANSFER)(platform::Handle pipe, platform::PipeTransfer& transfer);
void ZEROVA_WRAP(CANCEL_TRANSFER)(platform::Handle pipe, platform::PipeTransfer& transfer)
{
   faults::noteStep("cancelled");
   ZEROVA_REAL(CANCEL_TRANSFER)(pipe, transfer);
}

} // extern "C"
