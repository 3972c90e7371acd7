// A client made of the generated stubs alone, and a service to try.
#ifndef TESTS_UNIT_SERVICE_STUB_CLIENT_H
#define TESTS_UNIT_SERVICE_STUB_CLIENT_H

#include "APIv1.h"
#include "service/json_check.h"
#include "service/loopback_address.h"
#include "service/routing_service.h"
#include "service/stream_transport.h"
#include "tools/simulator/attributes.h"
#include "tools/simulator/error_codes.h"

#include <gmock/gmock.h>
#include <thrift/protocol/TBinaryProtocol.h>
#include <thrift/transport/TBufferTransports.h>

#include <functional>
#include <memory>
#include <string>

namespace zerova::test {

class Client
{
public:
   explicit Client(Stream stream)
      : stream_(std::move(stream))
      , stub_(std::make_shared<apache::thrift::protocol::TBinaryProtocol>(
           std::make_shared<apache::thrift::transport::TFramedTransport>(
              std::make_shared<StreamTransport>(stream_, never_))))
   {
      stub_.version("1.0"); // answered by a service that has counted this connection
   }

   APIv1Client* operator->() { return &stub_; }

private:
   StopSignal never_;
   Stream stream_;
   APIv1Client stub_;
};

// A service on an address of its own and a first client of it.
class Laboratory : public testing::Test
{
protected:
   std::unique_ptr<Client> connect()
   {
      return std::make_unique<Client>(Stream::connectTcp(address_.text(), service_.port()));
   }

   LoopbackAddress address_;
   RoutingService service_{{.address = address_.text()}};
   std::unique_ptr<Client> first_ = connect();
   Client& client_ = *first_;
   const RouteAttributes plain_;
};

// What action is refused with. No refusal is a failure of the test, and so is one whose text is not
// a whole status document.
inline ThriftStatus refusalOf(const std::function<void()>& action)
{
   try {
      action();
   } catch (const ThriftStatus& status) {
      EXPECT_TRUE(isJsonDocument(status.description)) << status.description;
      EXPECT_THAT(status.description,
                  testing::AllOf(testing::StartsWith(R"({"error_constant":"zerova::errors::k)"),
                                 testing::HasSubstr(R"(,"file":")"),
                                 testing::HasSubstr(R"(","line":)"),
                                 testing::HasSubstr(R"("component":"zerova-simulator")")));
      return status;
   }
   ADD_FAILURE() << "nothing was refused";
   return {};
}

inline std::int32_t codeOf(const std::function<void()>& action)
{
   return refusalOf(action).code;
}

// The row of a refusal that a translator shows with a label.
inline std::string row(const std::string& key, const std::string& value)
{
   return R"({"type":"usage","usage":")" + key + R"(","value":)" + value + "}";
}

// Matches an Attribute by its value.
MATCHER_P(IsText, value, "")
{
   return arg.attr_type == AttrType::STRING && arg.str_attr == value;
}
MATCHER_P(IsBool, value, "")
{
   return arg.attr_type == AttrType::BOOL && arg.bool_attr == value;
}

} // namespace zerova::test

#endif
