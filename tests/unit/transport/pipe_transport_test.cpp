#include "transport/pipe_transport.h"

#include "unit/transport/descriptors.h"
#include "unit/transport/local_pipe_facts.h"
#include "unit/transport/local_service.h"
#include "unit/transport/system_faults.h"

#include <future>
#include <gmock/gmock.h>
#include <numeric>
#include <thrift/concurrency/Exception.h>

namespace {

using apache::thrift::TConfiguration;
using apache::thrift::concurrency::SystemResourceException;
using apache::thrift::transport::TNamedPipeImpl;
using apache::thrift::transport::TPipe;
using apache::thrift::transport::TTransport;
using apache::thrift::transport::TTransportException;
using zerova::test::Stream;

struct Failure
{
   int type;
   std::string what;
   bool operator==(const Failure&) const = default;
};

void PrintTo(const Failure& failure, std::ostream* out)
{
   *out << "type " << failure.type << " \"" << failure.what << '"';
}

template <typename Action>
Failure failureOf(Action action)
{
   try {
      action();
   } catch (const TTransportException& failure) {
      return {failure.getType(), failure.what()};
   }
   return {-1, "nothing was thrown"};
}

template <typename Action>
void expectBrokenRead(Action action)
{
   const Failure failure = failureOf(action);
   EXPECT_EQ(failure.type, TTransportException::UNKNOWN);
   EXPECT_THAT(failure.what, testing::AnyOfArray(kTextsOfABrokenRead));
}

const uint8_t* bytesOf(const std::string& text)
{
   return reinterpret_cast<const uint8_t*>(text.data());
}

uint8_t* bytesOf(std::string& text)
{
   return reinterpret_cast<uint8_t*>(text.data());
}

void write(TPipe& pipe, const std::string& text)
{
   pipe.write(bytesOf(text), static_cast<uint32_t>(text.size()));
}

// An open pipe and the service's end of it.
struct OpenPipe
{
   OpenPipe()
      : pipe(service.name())
      , client((pipe.open(), service.accept()))
   {
   }

   std::string read(uint32_t length)
   {
      std::string buffer(length, '\0');
      buffer.resize(pipe.read(bytesOf(buffer), length));
      return buffer;
   }

   LocalService service;
   TPipe pipe;
   Stream client;
};

TEST(PipeName, ShortNameGetsThePrefix)
{
   EXPECT_EQ(TPipe("com.zerova").getPipename(), "\\\\.\\pipe\\com.zerova");
   EXPECT_EQ(TPipe("Trevanta/Zerova").getPipename(), "\\\\.\\pipe\\Trevanta/Zerova");
   EXPECT_EQ(TPipe("").getPipename(), "\\\\.\\pipe\\");
}

TEST(PipeName, SingleBackslashesDoNotMakeAFullPath)
{
   EXPECT_EQ(TPipe("\\a\\b").getPipename(), "\\\\.\\pipe\\\\a\\b");
}

TEST(PipeName, NameThatBeginsWithTwoBackslashesIsUnchanged)
{
   EXPECT_EQ(TPipe("\\\\host\\pipe\\a").getPipename(), "\\\\host\\pipe\\a");
}

TEST(PipeName, NameWithTwoBackslashesInItsMiddleIsUnchanged)
{
   EXPECT_EQ(TPipe("a\\\\b").getPipename(), "a\\\\b");
}

TEST(Pipe, FullNameReachesTheSameServiceAsTheShortOne)
{
   LocalService service;
   TPipe pipe(fullPipeName(service.name()));
   pipe.open();
   write(pipe, "hello");
   Stream client = service.accept();
   EXPECT_EQ(service.read(client, 5), "hello");
}

TEST(Pipe, IsClosedUntilOpened)
{
   LocalService service;
   TPipe pipe(service.name());
   EXPECT_FALSE(pipe.isOpen());
   EXPECT_FALSE(pipe.peek());
   pipe.open();
   EXPECT_TRUE(pipe.isOpen());
   EXPECT_TRUE(pipe.peek());
}

TEST(Pipe, CloseTwiceIsHarmless)
{
   OpenPipe open;
   open.pipe.close();
   open.pipe.close();
   EXPECT_FALSE(open.pipe.isOpen());
   EXPECT_EQ(open.service.readToEnd(open.client), "");
}

TEST(Pipe, OpensAgainAfterAClose)
{
   OpenPipe open;
   open.pipe.close();
   open.pipe.open();
   Stream second = open.service.accept();
   write(open.pipe, "again");
   EXPECT_EQ(open.service.read(second, 5), "again");
}

TEST(Pipe, DestructionClosesAllThatOpeningHasOpened)
{
   LocalService service;
   const size_t before = descriptors::countOpen();
   {
      TPipe pipe(service.name());
      pipe.open();
      EXPECT_EQ(descriptors::countOpen(), before + kOpenForAPipe);
   }
   EXPECT_EQ(descriptors::countOpen(), before);
}

TEST(Pipe, ReadReturnsWhatOneTransferDelivers)
{
   OpenPipe open;
   open.service.write(open.client, "abc");
   EXPECT_EQ(open.read(100), "abc");
}

TEST(Pipe, ReadOfFewerBytesLeavesTheRest)
{
   OpenPipe open;
   open.service.write(open.client, "abcdef");
   EXPECT_EQ(open.read(2), "ab");
   EXPECT_EQ(open.read(100), "cdef");
}

TEST(Pipe, ReadOfNothingReturnsAtOnce)
{
   OpenPipe open;
   EXPECT_EQ(open.read(0), "");
}

TEST(Pipe, ReadAllCollectsUntilAllIsThere)
{
   OpenPipe open;
   const auto sent = std::async(std::launch::async, [&] {
      for (const char* piece : {"a", "bc", "def"})
         open.service.write(open.client, piece);
   });
   std::string buffer(6, '\0');
   EXPECT_EQ(static_cast<TTransport&>(open.pipe).readAll(bytesOf(buffer), 6), 6u);
   EXPECT_EQ(buffer, "abcdef");
}

TEST(Pipe, ReadAllOfNothingDoesNotRead)
{
   TPipe closed("nothing");
   EXPECT_EQ(closed.readAll(nullptr, 0), 0u);
}

TEST(Pipe, EndOfTheConnectionFailsTheTransfer)
{
   OpenPipe open;
   const auto closed = std::async(std::launch::async, [&] { open.client.close(); });
   expectBrokenRead([&] { open.read(1); });
}

TEST(Pipe, EndOfTheConnectionInsideReadAllFailsTheTransfer)
{
   OpenPipe open;
   open.service.write(open.client, "ab");
   open.client.close();
   std::string buffer(3, '\0');
   expectBrokenRead([&] { open.pipe.readAll(bytesOf(buffer), 3); });
}

TEST(Pipe, ResetConnectionFailsTheTransferLikeAnyEnd)
{
   OpenPipe open;
   write(open.pipe, "never read");
   open.client.close();
   expectBrokenRead([&] { open.read(1); });
}

TEST(Pipe, FailedTransferLeavesThePipeOpen)
{
   OpenPipe open;
   open.client.close();
   EXPECT_THROW(open.read(1), TTransportException);
   EXPECT_TRUE(open.pipe.isOpen());
}

TEST(Pipe, WriteToAClosedPeerFailsItsStart)
{
   OpenPipe open;
   open.client.close();
   EXPECT_EQ(failureOf([&] { write(open.pipe, "x"); }),
             (Failure{TTransportException::UNKNOWN, "TPipe: write failed"}));
}

TEST(Pipe, WriteOfNothingDoesNothing)
{
   OpenPipe open;
   open.client.close();
   EXPECT_NO_THROW(write(open.pipe, ""));
}

TEST(Pipe, LargeWriteGoesOutWhole)
{
   OpenPipe open;
   std::string large(8u << 20, '\0');
   std::iota(large.begin(), large.end(), '\0');
   const auto written = std::async(std::launch::async, [&] { write(open.pipe, large); });
   EXPECT_TRUE(open.service.read(open.client, large.size()) == large);
}

TEST(Pipe, PeerThatClosesDuringALargeWriteFailsIt)
{
   OpenPipe open;
   const std::string large(8u << 20, 'x');
   const auto closed = std::async(std::launch::async, [&] {
      open.service.read(open.client, 1000);
      open.client.close();
   });
   EXPECT_THROW(write(open.pipe, large), TTransportException);
}

TEST(Pipe, PeerThatResetsDuringALargeWriteFailsIt)
{
   OpenPipe open;
   const std::string large(8u << 20, 'x');
   const auto closed = std::async(std::launch::async, [&] {
      open.service.read(open.client, 1000);
      open.client.reset();
   });
   EXPECT_THROW(write(open.pipe, large), TTransportException);
}

TEST(Pipe, OneReadAndOneWriteMayRunAtOnce)
{
   OpenPipe open;
   const std::string large(4u << 20, 'x');
   const auto echoed = std::async(std::launch::async, [&] {
      open.service.write(open.client, open.service.read(open.client, large.size()));
   });
   const auto written = std::async(std::launch::async, [&] { write(open.pipe, large); });
   std::string buffer(large.size(), '\0');
   open.pipe.readAll(bytesOf(buffer), static_cast<uint32_t>(buffer.size()));
   EXPECT_TRUE(buffer == large);
}

TEST(Pipe, ReadOnAClosedPipeIsNotOpen)
{
   TPipe closed("nothing");
   uint8_t byte = 0;
   EXPECT_EQ(failureOf([&] { closed.read(&byte, 1); }),
             (Failure{TTransportException::NOT_OPEN, "Called read on non-open pipe"}));
}

TEST(Pipe, WriteOnAClosedPipeIsNotOpen)
{
   TPipe closed("nothing");
   EXPECT_EQ(failureOf([&] { write(closed, "x"); }),
             (Failure{TTransportException::NOT_OPEN, "Called write on non-open pipe"}));
}

TEST(Pipe, ReadLargerThanAnyMessageIsRefused)
{
   TPipe closed("nothing", std::make_shared<TConfiguration>(INT32_MAX));
   uint8_t byte = 0;
   for (const uint32_t length : {0x80000000u, 0xFFFFFFFFu})
      EXPECT_EQ(failureOf([&] { closed.read(&byte, length); }),
                (Failure{TTransportException::END_OF_FILE, "MaxMessageSize reached"}));
   EXPECT_EQ(failureOf([&] { closed.read(&byte, INT32_MAX); }),
             (Failure{TTransportException::NOT_OPEN, "Called read on non-open pipe"}));
}

TEST(Pipe, SizeOfAReadIsCheckedBeforeOpenness)
{
   TPipe closed("nothing", std::make_shared<TConfiguration>(10));
   uint8_t bytes[11];
   EXPECT_EQ(failureOf([&] { closed.read(bytes, 11); }),
             (Failure{TTransportException::END_OF_FILE, "MaxMessageSize reached"}));
   EXPECT_EQ(failureOf([&] { closed.read(bytes, 10); }),
             (Failure{TTransportException::NOT_OPEN, "Called read on non-open pipe"}));
}

TEST(Pipe, WriteHasNoSizeCheck)
{
   LocalService service;
   TPipe pipe(service.name(), std::make_shared<TConfiguration>(10));
   pipe.open();
   write(pipe, "more than ten");
   Stream client = service.accept();
   EXPECT_EQ(service.read(client, 13), "more than ten");
}

TEST(Pipe, EndsAndFlushDoNothing)
{
   TPipe closed("nothing");
   EXPECT_EQ(closed.readEnd(), 0u);
   EXPECT_EQ(closed.writeEnd(), 0u);
   EXPECT_NO_THROW(closed.flush());
}

TEST(Pipe, HandleOfAnImplementationIsClosedWhenAnotherIsTaken)
{
   const LocalService service;
   const std::string name = fullPipeName(service.name());
   const platform::Handle first = platform::PipeOpener(name.c_str()).open(0).pipe;
   const LocalService another;
   const std::string otherName = fullPipeName(another.name());
   const platform::Handle second = platform::PipeOpener(otherName.c_str()).open(0).pipe;
   {
      TNamedPipeImpl impl;
      impl.setPipeHandle(first);
      impl.setPipeHandle(first);
      EXPECT_TRUE(descriptors::isOpen(first)) << "the same handle stays";
      impl.setPipeHandle(second);
      EXPECT_FALSE(descriptors::isOpen(first));
      EXPECT_EQ(impl.getPipeHandle(), second);
   }
   EXPECT_FALSE(descriptors::isOpen(second));
}

TEST(Pipe, ImplementationHasNoHandleToWriteOrToWaitOn)
{
   TNamedPipeImpl impl;
   impl.setWrtPipeHandle(0);
   EXPECT_EQ(impl.getWrtPipeHandle(), platform::kInvalidHandle);
   EXPECT_EQ(impl.getNativeWaitHandle(), platform::kInvalidHandle);
   EXPECT_FALSE(impl.isBufferedDataAvailable());
}

TEST(Pipe, EventThatCannotBeMadeFailsTheOpenAndClosesTheHandle)
{
   LocalService service;
   TPipe pipe(service.name());
   pipe.open(); // what a thread's first calls allocate for themselves is there then
   pipe.close();
   service.accept();
   const size_t before = descriptors::countOpen();
   std::string failure;
   for (const size_t event : {0u, 1u}) { // that of reading and that of writing
      try {
         const faults::RefusedEvent refused(event);
         pipe.open();
      } catch (const SystemResourceException& thrown) {
         failure = thrown.what();
      }
      service.accept();
      EXPECT_EQ(failure, "CreateEvent failed");
      EXPECT_FALSE(pipe.isOpen());
      EXPECT_EQ(descriptors::countOpen(), before);
   }
}

TEST(LocalAuthException, IsAnInternalErrorOfTheTransport)
{
   const apache::thrift::transport::TLocalAuthException failure("text");
   const TTransportException& base = failure;
   EXPECT_EQ(base.getType(), 7);
   EXPECT_STREQ(base.what(), "text");
}

TEST(LocalAuthException, GivesItsNameWithoutAMessage)
{
   EXPECT_STREQ(apache::thrift::transport::TLocalAuthException().what(), "TLocalAuthException");
}

} // namespace
