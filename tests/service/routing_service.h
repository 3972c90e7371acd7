// The simulator with the bench of the laboratory, inside a test.
#ifndef TESTS_SERVICE_ROUTING_SERVICE_H
#define TESTS_SERVICE_ROUTING_SERVICE_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zerova::test {

struct RoutingServiceOptions
{
   bool local = false;           // serve "com.zerova" and "com.zerova.immediate"
   std::string endpointDir = {}; // the folder for them; empty: the one that the build was given
   std::string address = {};     // loopback address for TCP; empty: no TCP
   std::uint16_t port = 0;       // 0: a free one
   std::optional<std::uint16_t> locatorPort = {}; // a locator on the same address
   bool isDebug = false;                          // the answer of isDebug
};

// Serves from construction to destruction, on a thread of its own.
class RoutingService
{
public:
   // Throws std::runtime_error when an endpoint cannot be had.
   explicit RoutingService(const RoutingServiceOptions& options);
   // Ends all connections and removes the endpoints.
   ~RoutingService();
   RoutingService(const RoutingService&) = delete;
   RoutingService& operator=(const RoutingService&) = delete;

   // Where it listens: "local FOLDER", "tcp ADDRESS:PORT", "locator ADDRESS:PORT".
   const std::vector<std::string>& endpoints() const;
   std::uint16_t port() const; // of TCP

   // Connections that are open, and routes of all of them.
   std::size_t connectionCount() const;
   std::size_t routeCount() const;
   // Waits at most 30 s for so many open connections: a client's end is seen a little later.
   bool waitForConnectionCount(std::size_t count) const;

private:
   class Running;
   std::unique_ptr<Running> running_;
};

} // namespace zerova::test

#endif
