// Single calls that fail with errors of this system. They hold as those of system_faults.h do.
#ifndef TESTS_UNIT_TRANSPORT_POSIX_CALL_FAULTS_H
#define TESTS_UNIT_TRANSPORT_POSIX_CALL_FAULTS_H

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

// For waits that are watched. The next polls are interrupted at once.
void interruptNextPolls(int times);
// A signal ends the next ones, each when this part of its limit has gone by.
constexpr int kInterruptedAfterMs = 20;
void interruptNextPollsLater(int times);

} // namespace faults

#endif
