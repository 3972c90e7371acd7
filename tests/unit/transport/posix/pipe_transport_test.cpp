// Signals, by which no call on a pipe ends.
#include "transport/pipe_transport.h"
#include "unit/transport/local_service.h"
#include "unit/transport/posix/call_faults.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <future>
#include <gtest/gtest.h>

namespace {

using apache::thrift::transport::TPipe;
using apache::thrift::transport::TTransportException;
using zerova::test::Stream;

TEST(PipeOfSockets, InterruptedCallsAreResumed)
{
   LocalService service;
   TPipe pipe(service.name());
   const faults::Failing connect(faults::Call::kConnect, EINTR, 2);
   pipe.open();
   EXPECT_TRUE(connect.hasHappened());
   Stream client = service.accept();

   const faults::Failing send(faults::Call::kSend, EINTR, 2);
   pipe.write(reinterpret_cast<const uint8_t*>("x"), 1);
   EXPECT_TRUE(send.hasHappened());
   EXPECT_EQ(service.read(client, 1), "x");

   service.write(client, "y");
   const faults::Failing receive(faults::Call::kReceive, EINTR, 2);
   uint8_t byte = 0;
   EXPECT_EQ(pipe.read(&byte, 1), 1u);
   EXPECT_TRUE(receive.hasHappened());
}

TEST(PipeOfSockets, WriteToAClosedPeerRaisesNoSignal)
{
   LocalService service;
   TPipe pipe(service.name());
   pipe.open();
   service.accept().close();
   const auto previous = std::signal(SIGPIPE, SIG_DFL); // ends the process if it is raised
   EXPECT_THROW(pipe.write(reinterpret_cast<const uint8_t*>("x"), 1), TTransportException);
   std::signal(SIGPIPE, previous);
}

std::atomic<int> signalsTaken = 0;

TEST(PipeOfSockets, ReadGoesOnAfterSignals)
{
   LocalService service;
   TPipe pipe(service.name());
   pipe.open();
   Stream client = service.accept();
   struct sigaction counting
   {
   };
   counting.sa_handler = [](int) { ++signalsTaken; }; // no SA_RESTART
   struct sigaction previous
   {
   };
   sigaction(SIGUSR1, &counting, &previous);
   signalsTaken = 0;
   const pthread_t reader = pthread_self();
   const auto sent = std::async(std::launch::async, [&] {
      while (signalsTaken < 3)
         pthread_kill(reader, SIGUSR1);
      service.write(client, "late");
   });
   uint8_t bytes[4] = {};
   EXPECT_EQ(pipe.read(bytes, 4), 4u);
   sent.wait();
   sigaction(SIGUSR1, &previous, nullptr);
}

} // namespace
