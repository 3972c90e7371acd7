// Opening a pipe: the server check, the failures and the wait for a busy pipe.
#include "transport/pipe_handles.h"
#include "transport/pipe_transfer.h"
#include "transport/pipe_transport.h"
#include "unit/transport/asked_verifier.h"
#include "unit/transport/descriptors.h"
#include "unit/transport/local_pipe_facts.h"
#include "unit/transport/local_service.h"
#include "unit/transport/system_faults.h"

#include <chrono>
#include <future>
#include <gmock/gmock.h>
#include <stdexcept>
#include <thrift/Thrift.h>

namespace {

using apache::thrift::transport::pseudo_sync_write;
using apache::thrift::transport::TLocalAuthException;
using apache::thrift::transport::TManualResetEvent;
using apache::thrift::transport::TPipe;
using apache::thrift::transport::TTransportException;
using platform::PipeOpener;
using platform::PipeOpening;
using zerova::test::Stream;

TEST(PipeOpen, OpenPipeStaysAsItIsAndTheVerifierIsNotAsked)
{
   LocalService service;
   AskedVerifier verifier;
   TPipe pipe(service.name());
   pipe.setVerifier(&verifier);
   pipe.open();
   const platform::Handle first = verifier.seen;
   pipe.open();
   EXPECT_EQ(verifier.passes, 1);
   EXPECT_EQ(verifier.seen, first);
   service.accept();
   EXPECT_TRUE(service.nobodyWaits());
}

TEST(PipeOpen, RefusingVerifierGetsTheOpenHandleWhichIsClosedAfterwards)
{
   LocalService service;
   AskedVerifier verifier;
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
   struct : AskedVerifier
   {
      bool isServerTrusted(platform::Handle pipe) override
      {
         return descriptors::serverOf(pipe) == zerova::test::processNumber();
      }
   } verifier;
   TPipe pipe(service.name());
   pipe.setVerifier(&verifier);
   EXPECT_NO_THROW(pipe.open());
}

TEST(PipeOpen, NullPutsTheTrustingVerifierBack)
{
   LocalService service;
   AskedVerifier verifier;
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
   struct : AskedVerifier
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
   AskedVerifier verifier;
   TPipe pipe(service.name());
   pipe.setVerifier(&verifier);
   pipe.open();
   EXPECT_TRUE(descriptors::isKeptFromChildren(verifier.seen));
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
   EXPECT_EQ(lastDiagnostic, "TPipe::open ::CreateFile errored GLE=: " +
                                apache::thrift::TOutput::strerror_s(kNoSuchPipe));
   EXPECT_FALSE(pipe.isOpen());
}

TEST(PipeOpen, NameOfNoPipeHasANumber)
{
   const platform::OpenedPipe opened = PipeOpener(fullPipeName(unusedPipeName()).c_str()).open(0);
   EXPECT_EQ(opened.result, PipeOpening::failed);
   EXPECT_EQ(opened.error, kNoSuchPipe);
   EXPECT_EQ(opened.pipe, platform::kInvalidHandle);
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
   EXPECT_TRUE(descriptors::isKeptFromChildren(opened.pipe));
   const TManualResetEvent event;
   pseudo_sync_write(opened.pipe, event.get(), reinterpret_cast<const uint8_t*>("me"), 2, -1);
   Stream client = service.accept();
   EXPECT_EQ(service.read(client, 2), "me");
   EXPECT_TRUE(service.nobodyWaits());
   platform::closePipe(opened.pipe);
}

TEST(BusyPipe, StaysUnopenedWhenTheWaitEndsAndTheServiceNeverSeesIt)
{
   LocalService service(0);
   const std::vector<Stream> others = service.fill();
   AskedVerifier verifier;
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
   AskedVerifier verifier;
   TPipe pipe(service.name());
   pipe.setVerifier(&verifier);
   const faults::Refused busyOnce(faults::Wish::kPipeThatIsNotBusy);
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
   const faults::Refused busyOnce(faults::Wish::kPipeThatIsNotBusy);
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

TEST(BusyPipe, VerifierThatThrowsOnALaterPassLeavesNothingOpen)
{
   LocalService service;
   AskedVerifier verifier;
   verifier.flags = [](int pass) { return pass == 2 ? throw std::runtime_error("no") : 0u; };
   TPipe pipe(service.name());
   pipe.setVerifier(&verifier);
   const size_t before = descriptors::countOpen();
   const faults::Refused busyOnce(faults::Wish::kPipeThatIsNotBusy);
   EXPECT_THROW(pipe.open(), std::runtime_error);
   EXPECT_EQ(descriptors::countOpen(), before);
}

} // namespace
