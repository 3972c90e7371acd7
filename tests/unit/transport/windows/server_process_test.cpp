// A verifier that asks which process serves a pipe.
#include "service/stream.h"
#include "transport/pipe_transport.h"
#include "unit/transport/local_service.h"

#include <gtest/gtest.h>

#include <cstdint>

#include <windows.h>

namespace {

using apache::thrift::transport::TLocalAuthException;
using apache::thrift::transport::TPipe;
using apache::thrift::transport::TPureAccessVerifier;

class ServerProcess : public TPureAccessVerifier
{
public:
   explicit ServerProcess(uint32_t trusted)
      : trusted_(trusted)
   {
   }

   // A server may learn who its client is and not act as the client.
   uint32_t openFlags() override { return SECURITY_SQOS_PRESENT | SECURITY_IDENTIFICATION; }
   bool isServerTrusted(platform::Handle pipe) override
   {
      ULONG process = 0;
      return GetNamedPipeServerProcessId(reinterpret_cast<HANDLE>(pipe), &process) &&
             process == trusted_;
   }

private:
   const uint32_t trusted_;
};

TEST(PipeVerifier, TrustsTheProcessThatServes)
{
   LocalService service;
   ServerProcess verifier(zerova::test::processNumber());
   TPipe pipe(service.name());
   pipe.setVerifier(&verifier);
   pipe.open();
   zerova::test::Stream accepted = service.accept();
   pipe.write(reinterpret_cast<const uint8_t*>("hello"), 5);
   EXPECT_EQ(service.read(accepted, 5), "hello");
}

TEST(PipeVerifier, ClosesThePipeOfAnotherProcessBeforeAnyByteGoesThroughIt)
{
   LocalService service;
   ServerProcess verifier(zerova::test::processNumber() + 4);
   TPipe pipe(service.name());
   pipe.setVerifier(&verifier);
   EXPECT_THROW(pipe.open(), TLocalAuthException);
   EXPECT_FALSE(pipe.isOpen());
   zerova::test::Stream accepted = service.accept();
   EXPECT_EQ(service.readToEnd(accepted), "");
}

} // namespace
