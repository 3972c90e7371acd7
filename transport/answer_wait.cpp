#include "transport/answer_wait.h"

#include <algorithm>
#include <utility>

namespace zerova {

void AnswerWait::ask(AnswerWatch& watch)
{
   isTimed_ = rest_ == 0;
   if (isTimed_)
      asked_ = watch.now();
   else
      --rest_;
}

void AnswerWait::begin(AnswerWatch& watch)
{
   isPolled_ = isTimed_ && soonInRow_ >= kSoonInRow && poll(watch);
}

void AnswerWait::end(AnswerWatch& watch)
{
   if (!std::exchange(isTimed_, false)) return;
   const int64_t time = watch.now() - asked_;
   if (isPolled_)
      notePoll(time);
   else if (rest_ == 0)
      noteSleep(time);
}

bool AnswerWait::poll(AnswerWatch& watch)
{
   int64_t last = watch.now();
   for (uint32_t looks = 0; !watch.hasCome(); ++looks) {
      if (looks % kLooksOfAYield == 0) watch.yield();
      const int64_t now = watch.now();
      if (now - asked_ > kLongestPoll || now - last > kLateLook) {
         stopPolling();
         return false;
      }
      last = now;
   }
   return true;
}

void AnswerWait::noteSleep(int64_t time)
{
   soonInRow_ = time > kSoon ? 0 : soonInRow_ + 1;
   if (soonInRow_ <= kSoonInRow / 2) {
      sleep_ = time; // what polls have left in the caches is not what a sleep meets among sleeps
      return;
   }
   // Steps to the median, which what else runs on the machine hardly moves.
   const int64_t step = sleep_ / 16 + 1;
   sleep_ += time > sleep_ ? step : -step;
   credit_ = kMostCredit / 2;
   polls_ = 0;
}

// What a poll saves has to be worth the core that it takes.
void AnswerWait::notePoll(int64_t time)
{
   if (time > sleep_ - sleep_ / 8) {
      if (--credit_ == 0) stopPolling();
      return;
   }
   credit_ = std::min(credit_ + 1, kMostCredit);
   if (++polls_ == kMostPolls) stopPolling();
}

void AnswerWait::stopPolling()
{
   soonInRow_ = 0;
   nextRest_ = polls_ < kPollsThatPay ? std::min(nextRest_ * 2 + kShortestRest, kLongestRest)
                                      : nextRest_ / 2;
   rest_ = nextRest_;
}

} // namespace zerova
