// How a call waits for its answer: asleep, or for a moment awake.
#ifndef TRANSPORT_ANSWER_WAIT_H
#define TRANSPORT_ANSWER_WAIT_H

#include <cstdint>

namespace zerova {

// What a wait asks of the connection and of the machine.
class AnswerWatch
{
public:
   AnswerWatch() = default;
   virtual ~AnswerWatch() = default;
   AnswerWatch(const AnswerWatch&) = delete;
   AnswerWatch& operator=(const AnswerWatch&) = delete;

   // Whether receiving would not sleep. Does not sleep itself.
   virtual bool hasCome() = 0;
   // Lets another thread run that waits for the core.
   virtual void yield() = 0;
   // Nanoseconds on a clock that never goes back.
   virtual int64_t now() = 0;
};

// To sleep for an answer from another core costs two switches of threads and the waking of two cores.
// To poll for it costs half of that, and the core for as long as it takes. So a call sleeps unless
// polling has shown to be the shorter wait:
//
// - It is tried when a number of answers in a row have come soon.
// - It ends at once when a poll lasts too long, and when another thread has had the core meanwhile,
//   which shows by how late the next look comes. It ends in a few calls when polls are no shorter than
//   sleep. So threads that are more than cores are not kept waiting, and a client that shares its core
//   with the service sleeps. How threads and cores lie is not asked for: it may change with every call,
//   and what is the service's cannot be known.
// - When it ends, a rest follows, in which calls sleep and are not timed: twice as long as the last if it
//   has not paid, so that however often it is tried in vain costs next to nothing, and half as long if
//   it has.
//
// One object for each session.
class AnswerWait
{
public:
   static constexpr int64_t kLongestPoll = 50'000; // these in nanoseconds
   static constexpr int64_t kSoon = 100'000;       // what a wait of that length can be, asleep
   static constexpr int64_t kLateLook = 4'000;     // a switch to another thread and back
   static constexpr uint32_t kLooksOfAYield = 8;   // of which the first is one
   static constexpr uint32_t kSoonInRow = 16;
   static constexpr uint32_t kShortestRest = 16; // these in calls
   static constexpr uint32_t kLongestRest = 1024;
   static constexpr uint32_t kPollsThatPay = 16;
   static constexpr uint32_t kMostPolls = 2048; // then some sleep, to know what that takes by now
   static constexpr int kMostCredit = 8;

   // In front of sending a request. The time counts from here: where client and service have one
   // core, sending may run the service.
   void ask(AnswerWatch& watch);
   // In front of receiving: returns when that is worth trying.
   void begin(AnswerWatch& watch);
   // Behind receiving. What comes without being asked for is no answer.
   void end(AnswerWatch& watch);

private:
   bool poll(AnswerWatch& watch);
   void noteSleep(int64_t time);
   void notePoll(int64_t time);
   void stopPolling();

   int64_t asked_ = 0;
   int64_t sleep_ = 0; // what it takes, lately
   uint32_t soonInRow_ = 0;
   uint32_t polls_ = 0;
   uint32_t rest_ = 0;
   uint32_t nextRest_ = 0;
   int credit_ = 0;
   bool isTimed_ = false;
   bool isPolled_ = false;
};

} // namespace zerova

#endif
