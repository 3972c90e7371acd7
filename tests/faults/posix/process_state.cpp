#include "faults/process_state.h"

#include <fcntl.h>
#include <pthread.h>
#include <sched.h>
#include <sys/personality.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include <array>
#include <cfenv>
#include <clocale>
#include <csignal>
#include <cstdint>
#include <ctime>
#include <exception>
#include <filesystem>
#include <iterator>
#include <locale>
#include <new>
#include <sstream>

extern char** environ;

namespace zerova::test {

namespace {

template <typename Value>
std::string text(const Value& value)
{
   std::ostringstream out;
   out << value;
   return out.str();
}

std::string address(void (*function)())
{
   return text(reinterpret_cast<std::uintptr_t>(function));
}

std::string signalHandlers()
{
   std::string all;
   for (int number = 1; number < NSIG; ++number) {
      struct sigaction action = {};
      if (sigaction(number, nullptr, &action) != 0) continue;
      all += text(number) + ":" + text(reinterpret_cast<std::uintptr_t>(action.sa_handler)) + "/" +
             text(action.sa_flags) + " ";
   }
   return all;
}

std::string signalMask()
{
   sigset_t blocked;
   pthread_sigmask(SIG_BLOCK, nullptr, &blocked);
   std::string all;
   for (int number = 1; number < NSIG; ++number)
      if (sigismember(&blocked, number) == 1) all += text(number) + " ";
   return all;
}

std::string fileMask()
{
   const mode_t mask = umask(0);
   umask(mask);
   return text(mask);
}

std::string environment()
{
   std::string all;
   for (char** entry = environ; *entry; ++entry)
      all += std::string(*entry) + "\n";
   return all;
}

std::string limits()
{
   std::string all;
   for (int what = 0; what < static_cast<int>(RLIM_NLIMITS); ++what) {
      rlimit limit = {};
      getrlimit(static_cast<__rlimit_resource_t>(what), &limit);
      all += text(limit.rlim_cur) + "/" + text(limit.rlim_max) + " ";
   }
   return all;
}

std::string timers()
{
   std::string all;
   for (const auto which : {ITIMER_REAL, ITIMER_VIRTUAL, ITIMER_PROF}) {
      itimerval timer = {};
      getitimer(which, &timer);
      all += text(timer.it_value.tv_sec) + "." + text(timer.it_value.tv_usec) + " ";
   }
   return all;
}

std::string threadName()
{
   std::array<char, 16> name{};
   pthread_getname_np(pthread_self(), name.data(), name.size());
   return name.data();
}

std::string processors()
{
   cpu_set_t set;
   CPU_ZERO(&set);
   sched_getaffinity(0, sizeof set, &set);
   return text(CPU_COUNT(&set)) + " scheduled by " + text(sched_getscheduler(0)) + " nice " +
          text(getpriority(PRIO_PROCESS, 0));
}

std::string descriptors()
{
   std::string all;
   for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
      const int number = std::stoi(entry.path().filename());
      std::error_code gone;
      const auto target = std::filesystem::read_symlink(entry.path(), gone).string();
      if (target.find("/fd") != std::string::npos) continue; // the one of this listing
      all += text(number) + ":" + target + "/" + text(fcntl(number, F_GETFD)) + "/" +
             text(fcntl(number, F_GETFL)) + " ";
   }
   return all;
}

std::string threads()
{
   const std::filesystem::directory_iterator tasks("/proc/self/task");
   return text(std::distance(begin(tasks), end(tasks)));
}

} // namespace

std::map<std::string, std::string> processState()
{
   return {
      {"signal handlers", signalHandlers()},
      {"signal mask", signalMask()},
      {"C locale", std::setlocale(LC_ALL, nullptr)},
      {"thread's locale", text(uselocale(locale_t{}))},
      {"C++ locale", std::locale().name()},
      {"working folder", std::filesystem::current_path().string()},
      {"file mask", fileMask()},
      {"environment", environment()},
      {"rounding mode", text(std::fegetround())},
      {"trapped exceptions", text(fegetexcept())},
      {"limits", limits()},
      {"timers", timers()},
      {"thread name", threadName()},
      {"processors", processors()},
      {"personality", text(personality(0xFFFFFFFF))},
      {"dumpable", text(prctl(PR_GET_DUMPABLE))},
      {"parent's death signal",
       [] {
          int number = 0;
          prctl(PR_GET_PDEATHSIG, &number);
          return text(number);
       }()},
      {"terminate handler", address(std::get_terminate())},
      {"new handler", address(std::get_new_handler())},
      {"time zone", std::string(tzname[0]) + tzname[1] + text(timezone)},
      {"process group", text(getpgrp()) + " " + text(getsid(0))},
      {"descriptors", descriptors()},
      {"threads", threads()},
   };
}

void makeWhatARuntimeKeeps(const std::function<void()>&) {}

std::size_t descriptorsOfASession(Endpoint)
{
   return 1;
}

namespace {

struct sigaction ignored(int number)
{
   struct sigaction usual = {};
   struct sigaction ignoring = {};
   ignoring.sa_handler = SIG_IGN;
   sigaction(number, &ignoring, &usual);
   return usual;
}

} // namespace

UnusualProcess::UnusualProcess()
   : restore_([rounding = std::fegetround(), mask = umask(0077), usual = ignored(SIGUSR1)] {
      std::fesetround(rounding);
      sigaction(SIGUSR1, &usual, nullptr);
      umask(mask);
   })
{
   std::fesetround(FE_UPWARD);
}

} // namespace zerova::test
