#include "faults/child_service.h"

#include "service/locator_peer.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <optional>

namespace zerova::test {

namespace {

[[noreturn]] void fail(const char* what)
{
   std::perror(what);
   std::abort();
}

// The ends of other services' pipes, held here too, would keep those services alive.
void closeAllBut(int one, int other)
{
   constexpr unsigned kFirst = STDERR_FILENO + 1;
   const auto low = static_cast<unsigned>(std::min(one, other));
   const auto high = static_cast<unsigned>(std::max(one, other));
   if (low > kFirst) ::close_range(kFirst, low - 1, 0);
   if (high > low + 1) ::close_range(low + 1, high - 1, 0);
   ::close_range(high + 1, ~0U, 0);
}

char await(int descriptor)
{
   char byte = 0;
   return ::read(descriptor, &byte, 1) == 1 ? byte : '\0';
}

void tell(int descriptor)
{
   const char byte = 's';
   if (::write(descriptor, &byte, 1) != 1) fail("the other process of the test");
}

// From the first byte until the parent closes its end.
void serve(const Script& script, const std::string& address, int fromParent, int toParent)
{
   if (!await(fromParent)) return;
   const RawPeer plain(Listener::local("com.zerova"), script);
   const RawPeer immediate(Listener::local("com.zerova.immediate"), script);
   std::optional<RawPeer> remote;
   std::optional<LocatorPeer> locator;
   if (!address.empty()) {
      remote.emplace(Listener::tcp(address), script);
      locator.emplace(address, mappingReply(remote->port()));
   }
   tell(toParent);
   await(fromParent);
}

} // namespace

ChildService::ChildService(const Script& script, const std::string& address)
{
   int down[2];
   int up[2];
   if (::pipe2(down, O_CLOEXEC) != 0 || ::pipe2(up, O_CLOEXEC) != 0) fail("pipe");
   process_ = ::fork();
   if (process_ < 0) fail("fork");
   if (process_ == 0) {
      closeAllBut(down[0], up[1]);
      try {
         serve(script, address, down[0], up[1]);
      } catch (const std::exception& error) {
         std::fprintf(stderr, "%s\n", error.what());
         ::_exit(1);
      }
      ::_exit(0);
   }
   ::close(down[0]);
   ::close(up[1]);
   toChild_ = down[1];
   fromChild_ = up[0];
}

ChildService::~ChildService()
{
   ::close(toChild_);
   ::close(fromChild_);
   if (process_ > 0) ::waitpid(process_, nullptr, 0);
}

void ChildService::start()
{
   tell(toChild_);
   if (!await(fromChild_)) fail("the service of the test did not start");
}

void ChildService::freeze()
{
   int state = 0;
   if (::kill(process_, SIGSTOP) != 0 || ::waitpid(process_, &state, WUNTRACED) != process_ ||
       !WIFSTOPPED(state))
      fail("freezing the service of the test");
}

void ChildService::kill()
{
   if (::kill(process_, SIGKILL) != 0 || ::waitpid(process_, nullptr, 0) != process_)
      fail("killing the service of the test");
   process_ = -1;
}

} // namespace zerova::test
