// The library in a process that takes signals and whose descriptors are limited.
#include "faults/guest.h"
#include "support/posix/filled_descriptors.h"

#include <gtest/gtest.h>

#include <csignal>

namespace {

using namespace zerova::test;

volatile std::sig_atomic_t brokenPipes = 0;

TEST_F(Guest, RaisesNoSignalOnABrokenConnection)
{
   ChildService service(ChildScript::answering, host.text());
   service.start();
   struct sigaction counting = {};
   struct sigaction usual = {};
   counting.sa_handler = [](int) { brokenPipes = brokenPipes + 1; };
   sigaction(SIGPIPE, &counting, &usual);
   const zerovaapi_Session sessions[] = {connect(Endpoint::local), connect(Endpoint::tcp)};
   service.kill();
   for (const zerovaapi_Session session : sessions) {
      for (int i = 0; i < 5; ++i) {
         FixedStatus status;
         zerovaapi_reserveRoute(session, 1, status);
         EXPECT_EQ(status.code(), -52024);
      }
      zerovaapi_destroySession(session);
   }
   sigaction(SIGPIPE, &usual, nullptr);
   EXPECT_EQ(brokenPipes, 0);
}

// UBSan, which runs with AddressSanitizer here, looks at an object's type with a pipe of its own and
// takes any for a wrong one when it gets none.
#ifndef __SANITIZE_ADDRESS__

// Leaves the process without a descriptor to open.
struct NoDescriptors : FilledDescriptors
{
   NoDescriptors()
      : FilledDescriptors(64)
   {
      open(SIZE_MAX);
   }
};

TEST_F(Guest, WithoutDescriptorsOpensNoSessionUntilThereAreSomeAgain)
{
   ChildService service(ChildScript::answering, host.text());
   service.start();
   for (const Endpoint endpoint : {Endpoint::local, Endpoint::tcp}) {
      FixedStatus status;
      {
         const NoDescriptors none;
         EXPECT_EQ(createSession(endpoint, host.text(), status), nullptr);
      }
      EXPECT_EQ(status.code(), -89168) << status.text();
      zerovaapi_destroySession(connect(endpoint));
   }
}

TEST_F(Guest, OpenSessionNeedsNoFurtherDescriptor)
{
   ChildService service(ChildScript::answering, host.text());
   service.start();
   for (const Endpoint endpoint : {Endpoint::local, Endpoint::tcp}) {
      const zerovaapi_Session session = connect(endpoint);
      {
         const NoDescriptors none;
         useSession(session);
      }
      zerovaapi_destroySession(session);
   }
}

#endif

} // namespace
