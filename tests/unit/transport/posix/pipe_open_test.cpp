// Opening a pipe that is a socket in a folder.
#include "transport/pipe_transport.h"
#include "unit/transport/asked_verifier.h"
#include "unit/transport/descriptors.h"
#include "unit/transport/local_service.h"
#include "unit/transport/posix/call_faults.h"
#include "unit/transport/system_faults.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <future>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

using apache::thrift::transport::TPipe;
using apache::thrift::transport::TTransportException;
using platform::PipeOpener;
using platform::PipeOpening;
using zerova::test::Stream;

int errorOfOpening(const std::string& name)
{
   return PipeOpener(fullPipeName(name).c_str()).open(0).error;
}

TEST(PipeOpen, EachReasonHasItsNumber)
{
   const LocalService service; // so that there is a folder of endpoints
   EXPECT_EQ(errorOfOpening(unusedPipeName()), ENOENT);
   EXPECT_EQ(errorOfOpening(unusedPipeName() + "/below"), ENOENT);
   EXPECT_EQ(errorOfOpening(std::string(200, 'x')), ENAMETOOLONG);
   EXPECT_EQ(errorOfOpening(""), ECONNREFUSED) << "the folder of the endpoints itself";
}

TEST(PipeOpen, LongestNameIsTheOneThatFillsAnAddressWithItsEnd)
{
   const size_t room = 107 - std::string(ZEROVA_ENDPOINT_DIR "/").size();
   EXPECT_EQ(errorOfOpening(std::string(room, 'x')), ENOENT);
   EXPECT_EQ(errorOfOpening(std::string(room + 1, 'x')), ENAMETOOLONG);
}

TEST(PipeOpen, NameWithAnotherPrefixCannotBeOpened)
{
   LocalService service;
   for (const std::string prefix : {"\\\\host\\pipe\\", "\\\\.\\PIPE\\", "\\\\", ""}) {
      const std::string name = prefix + service.name();
      const platform::OpenedPipe opened = PipeOpener(name.c_str()).open(0);
      EXPECT_EQ(opened.result, PipeOpening::failed) << name;
      EXPECT_EQ(opened.error, ENOENT) << name;
   }
   EXPECT_TRUE(service.nobodyWaits());
}

TEST(PipeOpen, ServiceThatHasGoneRefuses)
{
   std::string name;
   {
      const LocalService service;
      name = service.name();
      rename((ZEROVA_ENDPOINT_DIR "/" + name).c_str(),
             (ZEROVA_ENDPOINT_DIR "/" + name + "x").c_str());
   }
   EXPECT_EQ(errorOfOpening(name + "x"), ECONNREFUSED);
   unlink((ZEROVA_ENDPOINT_DIR "/" + name + "x").c_str());
}

TEST(PipeOpen, FailureOfTheSystemIsPassedOnAndLeavesNothingOpen)
{
   const LocalService service;
   const size_t before = descriptors::countOpen();
   {
      const faults::Failing failing(faults::Call::kSocket, EMFILE);
      EXPECT_EQ(errorOfOpening(service.name()), EMFILE);
   }
   {
      const faults::Failing failing(faults::Call::kConnect, EACCES);
      EXPECT_EQ(errorOfOpening(service.name()), EACCES);
   }
   {
      const faults::Failing failing(faults::Call::kFcntl, EPERM);
      EXPECT_EQ(errorOfOpening(service.name()), EPERM);
   }
   EXPECT_EQ(descriptors::countOpen(), before);
}

TEST(PipeOpen, ExtraFlagsAreThoseOfTheSocket)
{
   LocalService service;
   AskedVerifier verifier;
   verifier.flags = [](int) { return static_cast<uint32_t>(SOCK_NONBLOCK); };
   TPipe pipe(service.name());
   pipe.setVerifier(&verifier);
   pipe.open();
   EXPECT_TRUE(descriptors::isNonBlocking(verifier.seen));

   verifier.flags = [](int) { return 0x40000000u; };
   pipe.close();
   EXPECT_THROW(pipe.open(), TTransportException);
}

TEST(PipeOpen, ReadsAndWritesBlockAsEverOnAHandleThatDoesNot)
{
   LocalService service;
   AskedVerifier verifier;
   verifier.flags = [](int) { return static_cast<uint32_t>(SOCK_NONBLOCK); };
   TPipe pipe(service.name());
   pipe.setVerifier(&verifier);
   pipe.open();
   Stream client = service.accept();
   const std::string large(4u << 20, 'x');
   const auto echoed = std::async(
      std::launch::async, [&] { service.write(client, service.read(client, large.size())); });
   pipe.write(reinterpret_cast<const uint8_t*>(large.data()), static_cast<uint32_t>(large.size()));
   std::string buffer(large.size(), '\0');
   pipe.readAll(reinterpret_cast<uint8_t*>(buffer.data()), static_cast<uint32_t>(buffer.size()));
   EXPECT_TRUE(buffer == large);
}

TEST(BusyPipe, HandleGainedInTheWaitHasNoTimeLimit)
{
   LocalService service;
   const std::string name = fullPipeName(service.name());
   PipeOpener opener(name.c_str());
   ASSERT_TRUE(opener.waitWhileBusy(5000));
   const platform::OpenedPipe opened = opener.open(0);
   timeval limit{1, 1};
   socklen_t size = sizeof(limit);
   getsockopt(static_cast<int>(opened.pipe), SOL_SOCKET, SO_SNDTIMEO, &limit, &size);
   EXPECT_EQ(limit.tv_sec, 0);
   EXPECT_EQ(limit.tv_usec, 0);
   platform::closePipe(opened.pipe);
}

TEST(BusyPipe, FlagsOfTheLastPassHold)
{
   LocalService service;
   AskedVerifier verifier;
   verifier.flags = [](int pass) { return pass == 2 ? static_cast<uint32_t>(SOCK_NONBLOCK) : 0u; };
   TPipe pipe(service.name());
   pipe.setVerifier(&verifier);
   const faults::Refused busyOnce(faults::Wish::kPipeThatIsNotBusy);
   pipe.open();
   EXPECT_TRUE(descriptors::isNonBlocking(verifier.seen));
}

TEST(BusyPipe, FlagsThatNoSocketTakesFailOnTheLastPassToo)
{
   LocalService service;
   AskedVerifier verifier;
   verifier.flags = [](int pass) { return pass == 2 ? 0x40000000u : 0u; };
   TPipe pipe(service.name());
   pipe.setVerifier(&verifier);
   const size_t before = descriptors::countOpen();
   const faults::Refused busyOnce(faults::Wish::kPipeThatIsNotBusy);
   EXPECT_THROW(pipe.open(), TTransportException);
   EXPECT_EQ(descriptors::countOpen(), before);
}

std::atomic<int> signalsTaken = 0;

TEST(BusyPipe, SignalsNeitherEndTheWaitNorReachTheService)
{
   LocalService service(0);
   const std::vector<Stream> others = service.fill();
   struct sigaction counting
   {
   };
   counting.sa_handler = [](int) { ++signalsTaken; };
   struct sigaction previous
   {
   };
   sigaction(SIGUSR1, &counting, &previous);
   signalsTaken = 0;
   const pthread_t opener = pthread_self();
   const auto accepted = std::async(std::launch::async, [&] {
      while (signalsTaken < 3)
         pthread_kill(opener, SIGUSR1);
      for (size_t i = 0; i < others.size(); ++i)
         service.accept();
   });
   TPipe pipe(service.name());
   EXPECT_NO_THROW(pipe.open());
   accepted.wait();
   sigaction(SIGUSR1, &previous, nullptr);
   service.accept();
   EXPECT_TRUE(service.nobodyWaits());
}

} // namespace
