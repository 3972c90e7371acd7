#include "support/other_account.h"

#include <fcntl.h>
#include <grp.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <exception>
#include <stdexcept>

namespace zerova::test {

namespace {

constexpr uid_t kNobody = 65534;

bool giveUpRights()
{
   if (::geteuid() != 0) return true;
   // What gave up rights may not look at itself in /proc; what the account starts may.
   return ::setgroups(0, nullptr) == 0 && ::setgid(kNobody) == 0 && ::setuid(kNobody) == 0 &&
          ::prctl(PR_SET_DUMPABLE, 1) == 0;
}

bool writeAll(int descriptor, const std::string& text)
{
   for (std::size_t done = 0; done < text.size();) {
      const ssize_t count = ::write(descriptor, text.data() + done, text.size() - done);
      if (count <= 0) return false;
      done += static_cast<std::size_t>(count);
   }
   return true;
}

// Waits for run(), or for the end of the test.
int workInChild(const std::function<std::string()>& work, int fromParent, int toParent)
{
   char byte = 0;
   if (::read(fromParent, &byte, 1) != 1) return 0;
   if (!giveUpRights()) {
      std::perror("giving up the rights of root");
      return 1;
   }
   try {
      return writeAll(toParent, work()) ? 0 : 1;
   } catch (const std::exception& error) {
      std::fprintf(stderr, "%s\n", error.what());
      return 1;
   }
}

} // namespace

OtherAccount::OtherAccount(const std::function<std::string()>& work)
{
   int down[2];
   int up[2];
   if (::pipe2(down, O_CLOEXEC) != 0 || ::pipe2(up, O_CLOEXEC) != 0)
      throw std::runtime_error("no pipe to another account");
   process_ = ::fork();
   if (process_ < 0) throw std::runtime_error("no process for another account");
   if (process_ == 0) {
      ::close(down[1]);
      ::close(up[0]);
      ::_exit(workInChild(work, down[0], up[1]));
   }
   ::close(down[0]);
   ::close(up[1]);
   toChild_ = down[1];
   fromChild_ = up[0];
}

OtherAccount::~OtherAccount()
{
   ::close(toChild_);
   ::close(fromChild_);
   if (process_ > 0) ::waitpid(process_, nullptr, 0);
}

std::string OtherAccount::run()
{
   if (!writeAll(toChild_, "s")) throw std::runtime_error("the other account's process is gone");
   std::string text;
   char buffer[512];
   for (ssize_t count = 0; (count = ::read(fromChild_, buffer, sizeof buffer)) > 0;)
      text.append(buffer, static_cast<std::size_t>(count));
   int state = 0;
   if (::waitpid(process_, &state, 0) != process_ || state != 0)
      throw std::runtime_error("the other account's process failed");
   process_ = -1;
   return text;
}

} // namespace zerova::test
