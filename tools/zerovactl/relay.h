// Stands between clients and a service, and hands every byte on as it is.
#ifndef TOOLS_ZEROVACTL_RELAY_H
#define TOOLS_ZEROVACTL_RELAY_H

#include "tools/zerovactl/trace_events.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace zerovactl {

// A place to listen at or to connect to.
struct Place
{
   std::string path; // of a local endpoint; empty: TCP
   std::string host;
   std::uint16_t port = 0; // 0: the locator's; listening, a free one that a locator of ours tells
};

// Throws Failure with kWrongUse for a text that is no place.
Place placeToListen(const std::string& text);
Place placeToConnect(const std::string& text);

struct RelayedPair
{
   Place listen;
   Place to;
};

class Relay
{
public:
   using Sink = std::function<void(const TraceEvent&)>;

   // Listens from here on; the sink is called by one thread at a time and must not throw. Throws
   // Failure where it cannot listen.
   Relay(const std::vector<RelayedPair>& pairs, Sink sink);
   // Ends all connections, and removes the endpoints that it made.
   ~Relay();
   Relay(const Relay&) = delete;
   Relay& operator=(const Relay&) = delete;

   // "/run/zerova/com.zerova.traced", "127.0.0.9:41877, locator 127.0.0.9:3580".
   const std::vector<std::string>& places() const;

private:
   class Inside;
   std::unique_ptr<Inside> inside_;
};

} // namespace zerovactl

#endif
