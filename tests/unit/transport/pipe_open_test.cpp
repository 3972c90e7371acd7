// Opening a pipe: the server check, the failures and the wait for a busy pipe.
#include "transport/pipe_transport.h"
#include "unit/transport/descriptors.h"
#include "unit/transport/local_service.h"
#include "unit/transport/system_faults.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <functional>
#include <future>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <thrift/Thrift.h>
#include <unistd.h>

namespace {

using apache::thrift::transport::TLocalAuthException;
using apache::thrift::transport::TPipe;
using apache::thrift::transport::TPureAccessVerifier;
using apache::thrift::transport::TTransportException;
using platform::PipeOpener;
using platform::PipeOpening;
using zerova::test::Stream;

// Trusts as told and keeps what it was asked.
struct Verifier : TPureAccessVerifier
{
   uint32_t openFlags() override { return flags(++passes); }
   bool isServerTrusted(platform::Handle pipe) override
   {
      seen = static_cast<int>(pipe);
      wasOpen = descriptors::isOpen(seen);
      return trusts;
   }

   std::function<uint32_t(int pass)> flags = [](int) { return 0u; };
   bool trusts = true;
   int passes = 0;
   int seen = -1;
   bool wasOpen = false;
};

int errorOfOpening(const std::string& name)
{
   return PipeOpener(fullPipeName(name).c_str()).open(0).error;
}

TEST(PipeOpen, OpenPipeStaysAsItIsAndTheVerifierIsNotAsked)
{
   LocalService service;
   Verifier verifier;
   TPipe pipe(service.name());
   pipe.setVerifier(&verifier);
   pipe.open();
   const int first = verifier.seen;
   pipe.open();
   EXPECT_EQ(verifier.passes, 1);
   EXPECT_EQ(verifier.seen, first);
   service.accept();
   EXPECT_TRUE(service.nobodyWaits());
}

TEST(PipeOpen, RefusingVerifierGetsTheOpenHandleWhichIsClosedAfterwards)
{
   LocalService service;
   Verifier verifier;
   verifier.trusts = false;
   TPipe pipe(service.name());
   pipe.setVerifier(&verifier);
   try {
      pipe.open();
      FAIL() << "the pipe was opened";
   } catch (const TLocalAuthException& failure) {
      EXPECT_STREQ(failure.what(), "Server isn't trusted!");
   }
   EXPECT_TRUE(verifier.wasOpen);
   EXPECT_FALSE(descriptors::isOpen(verifier.seen));
   EXPECT_FALSE(pipe.isOpen());
   Stream client = service.accept();
   EXPECT_EQ(service.readToEnd(client), "");
}

TEST(PipeOpen, VerifierCanAskTheSystemWhoServes)
{
   LocalService service;
   struct : Verifier
   {
      bool isServerTrusted(platform::Handle pipe) override
      {
         ucred peer{};
         socklen_t size = sizeof(peer);
         return getsockopt(static_cast<int>(pipe), SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 &&
                peer.pid == getpid();
      }
   } verifier;
   TPipe pipe(service.name());
   pipe.setVerifier(&verifier);
   EXPECT_NO_THROW(pipe.open());
}

TEST(PipeOpen, NullPutsTheTrustingVerifierBack)
{
   LocalService service;
   Verifier verifier;
   TPipe pipe(service.name());
   pipe.setVerifier(&verifier);
   pipe.setVerifier(nullptr);
   pipe.open();
   EXPECT_EQ(verifier.passes, 0);
}

TEST(PipeOpen, VerifierThatThrowsLeavesNothingOpen)
{
   LocalService service;
   const size_t before = descriptors::countOpen();
   struct : Verifier
   {
      bool isServerTrusted(platform::Handle) override { throw std::runtime_error("no"); }
   } verifier;
   TPipe pipe(service.name());
   pipe.setVerifier(&verifier);
   EXPECT_THROW(pipe.open(), std::runtime_error);
   EXPECT_EQ(descriptors::countOpen(), before);
}

TEST(PipeOpen, HandleIsNotInherited)
{
   LocalService service;
   Verifier verifier;
   TPipe pipe(service.name());
   pipe.setVerifier(&verifier);
   pipe.open();
   EXPECT_TRUE(descriptors::closesOnExec(verifier.seen));
}

std::string lastDiagnostic;

TEST(PipeOpen, MissingPipeFailsAtOnceAndTellsWhyInTheDiagnosticOutput)
{
   apache::thrift::GlobalOutput.setOutputFunction([](const char* text) { lastDiagnostic = text; });
   TPipe pipe(unusedPipeName());
   try {
      pipe.open();
      FAIL() << "the pipe was opened";
   } catch (const TTransportException& failure) {
      EXPECT_EQ(failure.getType(), TTransportException::NOT_OPEN);
      EXPECT_STREQ(failure.what(), "Unable to open pipe");
   }
   apache::thrift::GlobalOutput.setOutputFunction([](const char*) {});
   EXPECT_EQ(lastDiagnostic, "TPipe::open ::CreateFile errored GLE=: No such file or directory");
   EXPECT_FALSE(pipe.isOpen());
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
   Verifier verifier;
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
   Verifier verifier;
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

TEST(BusyPipe, IsToldFromAMissingOne)
{
   const LocalService service(0);
   const std::vector<Stream> others = service.fill();
   const platform::OpenedPipe opened = PipeOpener(fullPipeName(service.name()).c_str()).open(0);
   EXPECT_EQ(opened.result, PipeOpening::busy);
   EXPECT_EQ(opened.pipe, platform::kInvalidHandle);
   EXPECT_NE(opened.error, 0);
}

TEST(BusyPipe, WaitEndsAsSoonAsThereIsRoomAndTheServiceSeesOneClient)
{
   LocalService service(0);
   const std::vector<Stream> others = service.fill();
   const std::string name = fullPipeName(service.name());
   PipeOpener opener(name.c_str());
   ASSERT_EQ(opener.open(0).result, PipeOpening::busy);
   const auto accepted = std::async(std::launch::async, [&] {
      for (size_t i = 0; i < others.size(); ++i)
         service.accept();
   });
   EXPECT_TRUE(opener.waitWhileBusy(60000));
   accepted.wait();

   const platform::OpenedPipe opened = opener.open(0);
   ASSERT_EQ(opened.result, PipeOpening::opened);
   EXPECT_TRUE(descriptors::closesOnExec(static_cast<int>(opened.pipe)));
   EXPECT_EQ(send(static_cast<int>(opened.pipe), "me", 2, MSG_NOSIGNAL), 2);
   Stream client = service.accept();
   EXPECT_EQ(service.read(client, 2), "me");
   EXPECT_TRUE(service.nobodyWaits());
   platform::closePipe(opened.pipe);
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

TEST(BusyPipe, StaysUnopenedWhenTheWaitEndsAndTheServiceNeverSeesIt)
{
   LocalService service(0);
   const std::vector<Stream> others = service.fill();
   Verifier verifier;
   TPipe pipe(service.name());
   pipe.setVerifier(&verifier);
   const size_t before = descriptors::countOpen();
   const auto start = std::chrono::steady_clock::now();
   EXPECT_THROW(pipe.open(), TTransportException);
   const auto elapsed = std::chrono::steady_clock::now() - start;
   EXPECT_GE(elapsed, std::chrono::milliseconds(2900));
   EXPECT_LT(elapsed, std::chrono::seconds(30));
   EXPECT_EQ(verifier.passes, 1);
   EXPECT_EQ(descriptors::countOpen(), before);
   for (size_t i = 0; i < others.size(); ++i)
      service.accept();
   EXPECT_TRUE(service.nobodyWaits());
}

TEST(BusyPipe, WaitIsShortWhenItIsToldSo)
{
   const LocalService service(0);
   const std::vector<Stream> others = service.fill();
   const std::string name = fullPipeName(service.name());
   PipeOpener opener(name.c_str());
   EXPECT_FALSE(opener.waitWhileBusy(20));
}

TEST(BusyPipe, ThatGoesAwayEndsTheWait)
{
   const std::string name = fullPipeName(unusedPipeName());
   PipeOpener opener(name.c_str());
   EXPECT_FALSE(opener.waitWhileBusy(60000));
}

TEST(BusyPipe, VerifierIsAskedForItsFlagsOnEveryPass)
{
   LocalService service;
   Verifier verifier;
   TPipe pipe(service.name());
   pipe.setVerifier(&verifier);
   const faults::Failing busyOnce(faults::Call::kConnect, EAGAIN);
   pipe.open();
   EXPECT_EQ(verifier.passes, 2);
   EXPECT_TRUE(pipe.isOpen());
   service.accept();
   EXPECT_TRUE(service.nobodyWaits());
}

TEST(BusyPipe, ConnectionThatTheWaitGainedIsTheOneThatCarriesTheBytes)
{
   LocalService service;
   TPipe pipe(service.name());
   const faults::Failing busyOnce(faults::Call::kConnect, EAGAIN);
   pipe.open();
   pipe.write(reinterpret_cast<const uint8_t*>("question"), 8);
   Stream client = service.accept();
   EXPECT_EQ(service.read(client, 8), "question");
   service.write(client, "answer");
   uint8_t answer[6] = {};
   pipe.readAll(answer, sizeof(answer));
   EXPECT_EQ(std::string(std::begin(answer), std::end(answer)), "answer");
   EXPECT_TRUE(service.nobodyWaits());
}

TEST(BusyPipe, FlagsOfTheLastPassHold)
{
   LocalService service;
   Verifier verifier;
   verifier.flags = [](int pass) { return pass == 2 ? static_cast<uint32_t>(SOCK_NONBLOCK) : 0u; };
   TPipe pipe(service.name());
   pipe.setVerifier(&verifier);
   const faults::Failing busyOnce(faults::Call::kConnect, EAGAIN);
   pipe.open();
   EXPECT_TRUE(descriptors::isNonBlocking(verifier.seen));
}

TEST(BusyPipe, FlagsThatNoSocketTakesFailOnTheLastPassToo)
{
   LocalService service;
   Verifier verifier;
   verifier.flags = [](int pass) { return pass == 2 ? 0x40000000u : 0u; };
   TPipe pipe(service.name());
   pipe.setVerifier(&verifier);
   const size_t before = descriptors::countOpen();
   const faults::Failing busyOnce(faults::Call::kConnect, EAGAIN);
   EXPECT_THROW(pipe.open(), TTransportException);
   EXPECT_EQ(descriptors::countOpen(), before);
}

TEST(BusyPipe, VerifierThatThrowsOnALaterPassLeavesNothingOpen)
{
   LocalService service;
   Verifier verifier;
   verifier.flags = [](int pass) { return pass == 2 ? throw std::runtime_error("no") : 0u; };
   TPipe pipe(service.name());
   pipe.setVerifier(&verifier);
   const size_t before = descriptors::countOpen();
   const faults::Failing busyOnce(faults::Call::kConnect, EAGAIN);
   EXPECT_THROW(pipe.open(), std::runtime_error);
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
