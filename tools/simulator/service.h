// Serves a bench to clients at local and TCP endpoints.
#ifndef TOOLS_SIMULATOR_SERVICE_H
#define TOOLS_SIMULATOR_SERVICE_H

#include "service/stream.h"
#include "tools/simulator/bench.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zerova::simulator {

// What one client may cost: a request that is longer ends its connection, and so does the longest one
// that is not whole, when all of those are together longer than the second.
inline constexpr std::size_t kLongestRequest = std::size_t{1} << 20;
inline constexpr std::size_t kMostHeldBytes = std::size_t{64} << 20;

struct ServiceOptions
{
   std::string endpointDir = {}; // of the local endpoints; empty: none
   std::string address = {};     // a loopback address for TCP; empty: no TCP
   std::uint16_t port = 0;       // 0: a free one
   std::optional<std::uint16_t> locatorPort = {};
   std::size_t mostConnections = 4096; // less if the system gives fewer
   bool isDebug = false;
};

class Service
{
public:
   using Log = std::function<void(const std::string& line)>;

   // Serves from run() on; clients that come earlier wait. Throws std::runtime_error when an endpoint
   // cannot be had.
   Service(Bench& bench, const ServiceOptions& options);
   ~Service(); // ends all connections and removes the endpoints
   Service(const Service&) = delete;
   Service& operator=(const Service&) = delete;

   // "local FOLDER", "tcp ADDRESS:PORT", "locator ADDRESS:PORT".
   const std::vector<std::string>& endpoints() const;
   std::uint16_t port() const; // of TCP
   std::size_t mostConnections() const;

   // Gets a line for each connection that begins or ends and each call.
   void setLog(Log log);
   // Called after calls, and beginnings and ends of connections, that may have changed the bench.
   void setChanged(std::function<void()> changed);
   // Calls from a thread of run() as soon as the handle is ready to be read or waited for, and until it is
   // not.
   void watch(test::NativeHandle handle, std::function<void()> ready);

   void run(); // until stop() is called, which any thread may do
   void stop();

   // Calls while nothing is carried out, from any thread: what the bench is then, it is after all calls
   // that have been answered. Not for the functions that the service calls.
   void atRest(const std::function<void()>& use) const;
   std::size_t connectionCount() const; // at rest, or in what setChanged() was given

   class Loop; // of the system

private:
   std::unique_ptr<Loop> loop_;
};

} // namespace zerova::simulator

#endif
