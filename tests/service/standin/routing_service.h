// The stand-in routing service as a whole: its endpoints, its locator and the state behind them.
#ifndef TESTS_SERVICE_STANDIN_ROUTING_SERVICE_H
#define TESTS_SERVICE_STANDIN_ROUTING_SERVICE_H

#include "service/acceptor.h"
#include "service/standin/connection_handler.h"
#include "service/standin/locator.h"

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace zerova::standin {

struct ServiceOptions
{
   bool local = false;           // serve "com.zerova" and "com.zerova.immediate"
   std::string endpointDir = {}; // the folder for them; empty: the one that the build was given
   std::string address = {};     // loopback address for TCP; empty: no TCP
   std::uint16_t port = 0;       // 0: a free one
   std::optional<std::uint16_t> locatorPort = {}; // a locator on the same address
   bool isDebug = false;                          // the answer of isDebug
};

// Serves from construction to destruction, each connection on a thread of its own, all on one
// state. Routes that say nothing of their lifetime are immediate on the immediate endpoint and
// session routes on the others; that is all by which the endpoints differ.
class RoutingService
{
public:
   // Throws std::runtime_error when an endpoint cannot be had.
   explicit RoutingService(const ServiceOptions& options);
   // Ends all connections and removes the endpoints.
   ~RoutingService();
   RoutingService(const RoutingService&) = delete;
   RoutingService& operator=(const RoutingService&) = delete;

   // Where it listens: "local FOLDER", "tcp ADDRESS:PORT", "locator ADDRESS:PORT".
   const std::vector<std::string>& endpoints() const { return endpoints_; }
   std::uint16_t port() const { return port_; } // of TCP

   // Connections that are open, and routes of all of them.
   std::size_t connectionCount() const;
   std::size_t routeCount() const;
   // Waits at most 30 s for so many open connections: a client's end is seen a little later.
   bool waitForConnectionCount(std::size_t count) const;

private:
   RoutingService() = default;
   void listen(test::Listener listener, const std::string& threadName,
               RouteLifetime::type lifetime);
   void serve(test::Stream& stream, const test::StopSignal& stop, RouteLifetime::type lifetime);
   void countConnections(std::ptrdiff_t change);

   mutable SharedState shared_;
   mutable std::mutex mutex_; // of the count
   mutable std::condition_variable changed_;
   std::size_t connectionCount_ = 0;
   std::atomic<ConnectionId> nextConnection_ = 1;
   std::uint16_t port_ = 0;
   std::vector<std::string> endpoints_;
   std::vector<std::unique_ptr<test::Acceptor>> acceptors_; // last: their threads use the rest
   std::unique_ptr<Locator> locator_;
};

} // namespace zerova::standin

#endif
