#include "service/standin/end_request.h"

#include <poll.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <system_error>

namespace zerova::standin {

EndRequest::EndRequest()
{
   sigset_t set;
   sigemptyset(&set);
   sigaddset(&set, SIGINT);
   sigaddset(&set, SIGTERM);
   pthread_sigmask(SIG_BLOCK, &set, nullptr); // the threads to come inherit it
   handle_ = ::signalfd(-1, &set, SFD_CLOEXEC);
   if (handle_ < 0) throw std::system_error(errno, std::generic_category(), "signalfd");
}

EndRequest::~EndRequest()
{
   ::close(static_cast<int>(handle_));
}

void EndRequest::wait()
{
   for (;;) {
      pollfd waits[2] = {{static_cast<int>(handle_), POLLIN, 0}, {STDIN_FILENO, POLLIN, 0}};
      if (::poll(waits, 2, -1) < 0) {
         if (errno == EINTR) continue;
         throw std::system_error(errno, std::generic_category(), "poll");
      }
      if (waits[0].revents) return;
      char ignored[256];
      if (waits[1].revents && ::read(STDIN_FILENO, ignored, sizeof ignored) <= 0) return;
   }
}

void EndRequest::waitForSignal()
{
   pollfd signals = {static_cast<int>(handle_), POLLIN, 0};
   while (::poll(&signals, 1, -1) < 0)
      if (errno != EINTR) throw std::system_error(errno, std::generic_category(), "poll");
}

} // namespace zerova::standin
