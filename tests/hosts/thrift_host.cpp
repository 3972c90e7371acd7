// A host that talks to services of its own through the system's Thrift, and hears its diagnostics.
#include "hosts/host.h"

#include "service/checked_status.h"
#include "support/library.h"

#include <gmock/gmock.h>
#include <thrift/Thrift.h>
#include <thrift/protocol/TBinaryProtocol.h>
#include <thrift/transport/TBufferTransports.h>
#include <thrift/transport/TSocket.h>
#include <thrift/transport/TTransportException.h>

#include <memory>
#include <vector>

namespace {

using apache::thrift::GlobalOutput;
using apache::thrift::protocol::TBinaryProtocol;
using apache::thrift::transport::TFramedTransport;
using apache::thrift::transport::TMemoryBuffer;
using apache::thrift::transport::TSocket;
using apache::thrift::transport::TTransportException;

std::vector<std::string> heard;

void hear(const char* message)
{
   heard.emplace_back(message);
}

// Its output is the host's from before the library comes.
void listen()
{
   static const bool listening = [] {
      GlobalOutput.setOutputFunction(hear);
      return true;
   }();
   static_cast<void>(listening);
}

// Through a frame, and back.
std::string carried(const std::string& text)
{
   const auto buffer = std::make_shared<TMemoryBuffer>();
   const auto framed = std::make_shared<TFramedTransport>(buffer);
   TBinaryProtocol protocol(framed);
   protocol.writeString(text);
   framed->flush();
   std::string result;
   protocol.readString(result);
   return result;
}

// Nobody serves an address that is in nobody's hands but the test's. Thrift tells of it aloud.
std::string refusal()
{
   const zerova::test::LoopbackAddress nobody;
   TSocket socket(nobody.text(), 1);
   try {
      socket.open();
   } catch (const TTransportException& error) {
      return error.getType() == TTransportException::NOT_OPEN ? "refused" : error.what();
   }
   return "connected";
}

} // namespace

std::string zerova::test::stateOfTheHost()
{
   listen();
   heard.clear();
   GlobalOutput("a message");
   const std::string told = refusal() + " " + carried("a text");
   return told + " heard " + std::to_string(heard.size()) + " " + heard.front() +
          (heard.back().find("Connection refused") == std::string::npos ? "" : ", refusal");
}

namespace {

using zerova::test::CheckedStatus;
using zerova::test::Host;
using zerova::test::stateOfTheHost;

TEST_F(Host, HasAThriftThatWorks)
{
   EXPECT_EQ(stateOfTheHost(), "refused a text heard 2 a message, refusal");
}

// A write to a connection that is gone is what Thrift tells of.
TEST_F(Host, HearsNothingOfTheFailuresOfTheLibrary)
{
   listen();
   Tour tour{};
   ASSERT_TRUE(tourLoad(&tour, ZEROVAAPI_LIBRARY, false)) << tour.failure;
   ASSERT_TRUE(tourOpen(&tour, serviceHost())) << tour.failure;
   const auto reserveRoute = reinterpret_cast<decltype(&zerovaapi_reserveRoute)>(
      findFunction(tour.library, "zerovaapi_reserveRoute"));
   ASSERT_NE(reserveRoute, nullptr);
   heard.clear();
   killService();
   for (const zerovaapi_Session session : tour.sessions)
      for (int call = 0; call < 5; ++call) {
         CheckedStatus status;
         reserveRoute(session, 7, status);
         EXPECT_EQ(status.code(), -52024);
      }
   EXPECT_THAT(heard, testing::IsEmpty());
   ASSERT_TRUE(tourClose(&tour)) << tour.failure;
   ASSERT_TRUE(tourUnload(&tour, ZEROVAAPI_LIBRARY)) << tour.failure;
   EXPECT_EQ(stateOfTheHost(), "refused a text heard 2 a message, refusal");
}

} // namespace
