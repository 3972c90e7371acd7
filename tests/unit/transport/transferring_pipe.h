// A pipe with a client that is told step by step what to transfer.
#ifndef TESTS_UNIT_TRANSPORT_TRANSFERRING_PIPE_H
#define TESTS_UNIT_TRANSPORT_TRANSFERRING_PIPE_H

#include "transport/pipe_handles.h"
#include "transport/pipe_transfer.h"
#include "unit/transport/local_service.h"

#include <gmock/gmock.h>
#include <optional>
#include <string>
#include <thrift/Thrift.h>
#include <thrift/transport/TTransportException.h>
#include <utility>

class TransferringPipe : public testing::Test
{
protected:
   using TAutoHandle = apache::thrift::transport::TAutoHandle;
   using TManualResetEvent = apache::thrift::transport::TManualResetEvent;
   using TTransportException = apache::thrift::transport::TTransportException;

   TransferringPipe()
   {
      diagnostics().clear();
      apache::thrift::GlobalOutput.setOutputFunction(
         [](const char* text) { diagnostics() += text; });
   }
   ~TransferringPipe() override
   {
      apache::thrift::GlobalOutput.setOutputFunction([](const char*) {});
   }

   static std::string& diagnostics()
   {
      static std::string text;
      return text;
   }

   static platform::Handle openClient(const LocalService& service)
   {
      const std::string name = fullPipeName(service.name());
      return platform::PipeOpener(name.c_str()).open(0).pipe;
   }

   void sendFromPeer(const std::string& bytes) { service.write(peer, bytes); }

   uint32_t read(int32_t limit)
   {
      return apache::thrift::transport::pseudo_sync_read(own.get(), event->get(), buffer, 8, limit);
   }
   void write(int32_t limit)
   {
      apache::thrift::transport::pseudo_sync_write(own.get(), event->get(), buffer, 8, limit);
   }

   // Until a write would wait.
   void fillOwnBuffer()
   {
      const std::string block(65536, 'x');
      const auto* const bytes = reinterpret_cast<const uint8_t*>(block.data());
      try {
         for (;;)
            apache::thrift::transport::pseudo_sync_write(own.get(), event->get(), bytes,
                                                         static_cast<uint32_t>(block.size()), 10);
      } catch (const TTransportException&) {
         diagnostics().clear();
      }
   }

   // Starts one that nobody ends, and has it given up behind the action.
   template <typename Action>
   void duringRead(Action action)
   {
      platform::PipeTransfer transfer{event->get()};
      EXPECT_EQ(platform::startRead(own.get(), buffer, sizeof(buffer), transfer), 0);
      action(transfer);
      platform::cancelTransfer(own.get(), transfer);
   }

   // A transfer that nobody ends tells the state of the event that it shares.
   bool eventIsRaised()
   {
      const LocalService idle;
      const TAutoHandle client(openClient(idle));
      const TManualResetEvent quiet;
      platform::PipeTransfer under{quiet.get()};
      EXPECT_EQ(platform::startRead(client.get(), buffer, sizeof(buffer), under), 0);
      under.event = event->get();
      const platform::TransferWait found = platform::waitForTransfer(under, 0).result;
      under.event = quiet.get();
      platform::cancelTransfer(client.get(), under);
      return found == platform::TransferWait::ended;
   }

   // The system's own text stands behind the diagnostic.
   template <typename Action>
   void expectFailure(Action action, int type, const std::string& text,
                      const std::string& diagnostic)
   {
      try {
         action();
         ADD_FAILURE() << "nothing was thrown";
      } catch (const TTransportException& failure) {
         EXPECT_EQ(failure.getType(), type);
         EXPECT_EQ(failure.what(), text);
      }
      EXPECT_THAT(diagnostics(), testing::StartsWith(diagnostic));
   }

   LocalService service;
   TAutoHandle own{openClient(service)};
   zerova::test::Stream peer = service.accept();
   std::optional<TManualResetEvent> event{std::in_place}; // another one is lowered
   uint8_t buffer[8] = {};
};

#endif
