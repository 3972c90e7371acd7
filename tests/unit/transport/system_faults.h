// Makes calls of the system fail that tests cannot make fail by other means, and notes what was
// asked of them. Holds for the calls that the objects of this program make, in the calling thread
// only.
#ifndef TESTS_UNIT_TRANSPORT_SYSTEM_FAULTS_H
#define TESTS_UNIT_TRANSPORT_SYSTEM_FAULTS_H

#include <cstdint>
#include <string>
#include <vector>

namespace faults {

enum class Call
{
   kSocket,
   kConnect,
   kSend,
   kReceive,
   kFcntl,
   kCount
};

// The next calls fail with this error, and the later ones work again. What is left at the end of
// its life is dropped.
class Failing
{
public:
   Failing(Call call, int error, int times = 1);
   ~Failing();
   Failing(const Failing&) = delete;
   Failing& operator=(const Failing&) = delete;

   bool hasHappened() const; // as often as asked for

private:
   const Call call_;
};

// While it lives, all sockets that are to be connected are noted.
class WatchedConnects
{
public:
   WatchedConnects();
   ~WatchedConnects();
   WatchedConnects(const WatchedConnects&) = delete;
   WatchedConnects& operator=(const WatchedConnects&) = delete;

   // Of each, whether a new program would have found it closed.
   const std::vector<bool>& closeOnExec() const;
};

// While it lives, the limits of all polls are noted, and chosen ones do not look at all.
class WatchedPoll
{
public:
   WatchedPoll();
   ~WatchedPoll();
   WatchedPoll(const WatchedPoll&) = delete;
   WatchedPoll& operator=(const WatchedPoll&) = delete;

   void failNext(int error, int times = 1);
   // A signal ends the next ones, each when this part of its limit has gone by.
   static constexpr int kInterruptedAfterMs = 20;
   void interruptNext(int times);
   void timeOutFrom(size_t index); // counted from 0
   const std::vector<int>& limits() const;
};

// While it lives, whoever makes a socket, in any thread, is held up until another does as well, but
// for 200 ms at most: so threads that can meet there do. One at a time.
class SlowSockets
{
public:
   SlowSockets();
   ~SlowSockets();
   SlowSockets(const SlowSockets&) = delete;
   SlowSockets& operator=(const SlowSockets&) = delete;

   int made() const;
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

} // namespace faults

#endif
