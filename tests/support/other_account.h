// A part of a test that runs under an account which may not do everything.
#ifndef TESTS_SUPPORT_OTHER_ACCOUNT_H
#define TESTS_SUPPORT_OTHER_ACCOUNT_H

#include <functional>
#include <string>

#include <sys/types.h>

namespace zerova::test {

// A process of its own, which gives up the rights of root if the test has them; any other account
// stays what it is. It is there as soon as the object is, so make it while the test has one thread.
class OtherAccount
{
public:
   // work runs in the other process when run() is called, and its text comes back from there.
   explicit OtherAccount(const std::function<std::string()>& work);
   ~OtherAccount();
   OtherAccount(const OtherAccount&) = delete;
   OtherAccount& operator=(const OtherAccount&) = delete;

   // May be called once. Throws std::runtime_error if the other process failed.
   std::string run();

private:
   pid_t process_ = -1;
   int toChild_ = -1;
   int fromChild_ = -1;
};

} // namespace zerova::test

#endif
