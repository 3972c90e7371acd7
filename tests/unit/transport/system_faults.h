// Makes calls of the system fail that tests cannot make fail by other means, and notes what was
// asked of them. Holds for the calls that the objects of this program make, in the calling thread
// only.
#ifndef TESTS_UNIT_TRANSPORT_SYSTEM_FAULTS_H
#define TESTS_UNIT_TRANSPORT_SYSTEM_FAULTS_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace faults {

// What a call asks the system for.
enum class Wish
{
   kSocket,
   kNonBlocking,
   kPipeThatIsNotBusy,
   kCount
};

// The next calls that ask for it do not get it, and the later ones do again. What is left at the end of
// its life is dropped.
class Refused
{
public:
   explicit Refused(Wish wish, int times = 1);
   ~Refused();
   Refused(const Refused&) = delete;
   Refused& operator=(const Refused&) = delete;

   bool hasHappened() const; // as often as asked for

private:
   const Wish wish_;
};

// While it lives, all events can be made but for the one number index, counted from 0.
class RefusedEvent
{
public:
   explicit RefusedEvent(size_t index);
   ~RefusedEvent();
   RefusedEvent(const RefusedEvent&) = delete;
   RefusedEvent& operator=(const RefusedEvent&) = delete;

private:
   struct Own;
   const std::unique_ptr<Own> own_;
};

// While it lives, all sockets that are to be connected are noted.
class WatchedConnects
{
public:
   WatchedConnects();
   ~WatchedConnects();
   WatchedConnects(const WatchedConnects&) = delete;
   WatchedConnects& operator=(const WatchedConnects&) = delete;

   // Of each, whether a child process would not have got it.
   const std::vector<bool>& keptFromChildren() const;
};

// While it lives, the limits of all waits of one kind are noted, in milliseconds and negative for none,
// and chosen ones do not look at all. One at a time.
class WatchedWaits
{
public:
   enum class On
   {
      kSockets,
      kPipes
   };
   explicit WatchedWaits(On on = On::kSockets);
   ~WatchedWaits();
   WatchedWaits(const WatchedWaits&) = delete;
   WatchedWaits& operator=(const WatchedWaits&) = delete;

   void failNext();
   void timeOutFrom(size_t index); // counted from 0
   const std::vector<int>& limits() const;
};

// While it lives, no name has an address, and the names asked for are noted.
class NamelessNetwork
{
public:
   NamelessNetwork();
   ~NamelessNetwork();
   NamelessNetwork(const NamelessNetwork&) = delete;
   NamelessNetwork& operator=(const NamelessNetwork&) = delete;

   const std::vector<std::string>& asked() const;
};

// While it lives, whoever makes a wake socket, in any thread, is held up until another does as well,
// but for 200 ms at most: so threads that can meet there do. One at a time.
class SlowWakeSockets
{
public:
   SlowWakeSockets();
   ~SlowWakeSockets();
   SlowWakeSockets(const SlowWakeSockets&) = delete;
   SlowWakeSockets& operator=(const SlowWakeSockets&) = delete;

   int made() const;
};

// The one that was made last, in any thread.
std::intptr_t lastWakeSocket();

// While it lives, the millisecond count starts as told and moves on by step with each look at it.
class SteppedTicks
{
public:
   SteppedTicks(uint32_t first, uint32_t step);
   ~SteppedTicks();
   SteppedTicks(const SteppedTicks&) = delete;
   SteppedTicks& operator=(const SteppedTicks&) = delete;
};

// While it lives, what is done to a pipe's event and its transfers is noted, and what the test itself
// notes between.
class PipeSteps
{
public:
   PipeSteps();
   ~PipeSteps();
   PipeSteps(const PipeSteps&) = delete;
   PipeSteps& operator=(const PipeSteps&) = delete;

   std::vector<std::string> taken(); // since the last look
};
void noteStep(const char* step);

// While it lives, tells when a transfer is about to be finished, in any thread, and whether that may
// wait for its end. One at a time.
class WatchedFinish
{
public:
   WatchedFinish();
   ~WatchedFinish();
   WatchedFinish(const WatchedFinish&) = delete;
   WatchedFinish& operator=(const WatchedFinish&) = delete;

   bool waitUntilItMayWait(); // 30 s at most; false if none came, or it may not
};

} // namespace faults

#endif
