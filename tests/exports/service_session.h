// Sessions of the library on the simulator.
#ifndef TESTS_EXPORTS_SERVICE_SESSION_H
#define TESTS_EXPORTS_SERVICE_SESSION_H

#include "service/checked_status.h"
#include "service/loopback_address.h"
#include "service/routing_service.h"
#include "tools/simulator/error_codes.h"
#include "zerovaapi.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

namespace zerova::test {

// Open from construction until it is closed or destroyed. No session is a failure of the test.
class ServiceSession
{
public:
   explicit ServiceSession(const std::string& host)
   {
      CheckedStatus status;
      session_ = zerovaapi_createRemoteSession(host.c_str(), status);
      EXPECT_NE(session_, nullptr) << status.json();
   }
   explicit ServiceSession(zerovaapi_Session session)
      : session_(session)
   {
   }
   ~ServiceSession() { close(); }
   ServiceSession(const ServiceSession&) = delete;
   ServiceSession& operator=(const ServiceSession&) = delete;

   operator zerovaapi_Session() const { return session_; }

   void close()
   {
      zerovaapi_destroySession(session_);
      session_ = nullptr;
   }

private:
   zerovaapi_Session session_;
};

// A service with a locator on an address of its own, and a session on it.
class RemoteService : public testing::Test
{
protected:
   // The ticket of a route whose attributes say nothing; 0 is a failure of the test.
   int32_t calculate(const char* source = "/matrix1/ch0", const char* destination = "/matrix1/ch1")
   {
      const int32_t ticket =
         zerovaapi_calculateRoute(session_, source, destination, nullptr, status_);
      EXPECT_NE(ticket, 0) << status_.json();
      return ticket;
   }

   // Restarts the service at another port of the same host.
   void startService() { service_.emplace(options_); }

   LoopbackAddress address_;
   const RoutingServiceOptions options_ = {.address = address_.text(), .locatorPort = 3580};
   std::optional<RoutingService> service_{options_};
   ServiceSession session_{address_.text()};
   CheckedStatus status_;
};

} // namespace zerova::test

#endif
