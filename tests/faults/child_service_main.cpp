// The program of a ChildService: SCRIPT ADDRESS, both as that tells them. It begins to serve at the
// first byte of its input, tells by a byte of its output that it does, and ends with its input. Without
// SCRIPT and ADDRESS it tells how many descriptors it has been given.
#include "faults/child_service.h"
#include "hosts/tour_service.h"
#include "service/locator_peer.h"
#include "service/wire_bytes.h"
#include "support/open_descriptors.h"

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <optional>

namespace {

using namespace zerova::test;

void tell()
{
   std::putchar('s');
   std::fflush(stdout);
}

// Leaves the connection alone from now on: Wine may keep one that is being read when its process is
// killed, and its client then waits for ever.
void tellAndRest()
{
   tell();
   while (std::getchar() != EOF) {
   }
}

Script scriptOf(ChildScript script)
{
   const auto plain = [](const std::string& frame) { return plainReply(methodOf(frame)); };
   switch (script) {
   case ChildScript::answering:
      return Script().answerAll(plain);
   case ChildScript::refusing:
      return Script().answerAll([](const std::string&) {
         return statusReply("version", kRefusalOfAChild, R"({"why":"too old"})");
      });
   case ChildScript::breaking:
      return Script().acceptVersion().receive().close();
   case ChildScript::silent:
      return Script().acceptVersion().receive().call(tellAndRest);
   case ChildScript::resting:
      return Script().acceptVersion().answer(plain).call(tellAndRest);
   case ChildScript::touring:
      return tourService();
   }
   return {};
}

void serve(const Script& script, const std::string& address)
{
   const RawPeer plain(Listener::local("com.zerova"), script);
   const RawPeer immediate(Listener::local("com.zerova.immediate"), script);
   std::optional<RawPeer> remote;
   std::optional<LocatorPeer> locator;
   if (!address.empty()) {
      remote.emplace(Listener::tcp(address), script);
      locator.emplace(address, mappingReply(remote->port()));
   }
   tell();
   std::getchar();
}

} // namespace

int main(int count, char** words)
{
   if (count < 3) {
      std::printf("%zu", openDescriptors());
      return 0;
   }
   if (std::getchar() == EOF) return 0;
   try {
      serve(scriptOf(static_cast<ChildScript>(std::atoi(words[1]))), words[2]);
   } catch (const std::exception& error) {
      std::fprintf(stderr, "%s\n", error.what());
      return 1;
   }
   return 0;
}
