#include "tools/simulator/graphviz.h"

#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <stdexcept>
#include <system_error>

namespace zerova::simulator {

namespace {

// As a program expects to be started: this one blocks the signals that end it, and ignores one.
class UsualSignals
{
public:
   UsualSignals()
   {
      sigset_t none;
      sigset_t ignored;
      sigemptyset(&none);
      sigemptyset(&ignored);
      sigaddset(&ignored, SIGPIPE);
      ::posix_spawnattr_init(&attributes_);
      ::posix_spawnattr_setsigmask(&attributes_, &none);
      ::posix_spawnattr_setsigdefault(&attributes_, &ignored);
      ::posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
   }
   ~UsualSignals() { ::posix_spawnattr_destroy(&attributes_); }
   UsualSignals(const UsualSignals&) = delete;
   UsualSignals& operator=(const UsualSignals&) = delete;

   const posix_spawnattr_t* get() const { return &attributes_; }

private:
   posix_spawnattr_t attributes_{};
};

// False: the patience was over, and the process has been killed.
bool waitForEnd(pid_t process, const Patience& patience)
{
   constexpr int kLookEveryMs = 50;
   const int descriptor = static_cast<int>(::syscall(SYS_pidfd_open, process, 0));
   pollfd end = {descriptor, POLLIN, 0};
   bool hasEnded = false;
   // Without such a descriptor the wait is one for the time alone.
   while (!hasEnded && !patience.isOver())
      hasEnded = ::poll(&end, 1, kLookEveryMs) > 0 || ::kill(process, 0) != 0;
   if (!hasEnded) ::kill(process, SIGKILL);
   if (descriptor >= 0) ::close(descriptor);
   return hasEnded;
}

} // namespace

Drawing drawByGraphviz(const std::string& text, const std::string& picture,
                       const Patience& patience)
{
   std::string program = "dot";
   std::string format = "-Tsvg";
   std::string to = "-o" + picture;
   std::string from = text;
   std::array<char*, 5> arguments = {program.data(), format.data(), to.data(), from.data(),
                                     nullptr};
   const UsualSignals signals;
   pid_t process = -1;
   const int error =
      ::posix_spawnp(&process, "dot", nullptr, signals.get(), arguments.data(), environ);
   if (error == ENOENT) return Drawing::kNoGraphviz;
   if (error != 0)
      throw std::runtime_error("cannot start dot: " + std::generic_category().message(error));
   const bool hasEnded = waitForEnd(process, patience);
   int state = 0;
   while (::waitpid(process, &state, 0) < 0)
      if (errno != EINTR) throw std::system_error(errno, std::generic_category(), "waitpid");
   if (!hasEnded) return Drawing::kTookTooLong;
   return WIFEXITED(state) && WEXITSTATUS(state) == 0 ? Drawing::kDone : Drawing::kFailed;
}

} // namespace zerova::simulator
