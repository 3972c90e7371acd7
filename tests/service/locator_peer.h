// A locator that answers every request with the same text, and a remote host made of it and a
// service.
#ifndef TESTS_SERVICE_LOCATOR_PEER_H
#define TESTS_SERVICE_LOCATOR_PEER_H

#include "service/loopback_address.h"
#include "service/raw_peer.h"

#include <cstdint>
#include <string>
#include <vector>

namespace zerova::test {

inline constexpr std::uint16_t kLocatorPort = 3580;

// A reply as a locator gives it, with the port under the key "Mapping=".
std::string mappingReply(std::uint16_t port);

class LocatorPeer
{
public:
   // Reads each request up to its blank line, sends reply and closes.
   LocatorPeer(const std::string& address, std::string reply, std::uint16_t port = kLocatorPort);
   // Plays a script of the test's own on each connection.
   LocatorPeer(const std::string& address, Script script, std::uint16_t port = kLocatorPort);

   std::uint16_t port() const { return peer_.port(); }
   std::vector<std::string> requests() const { return peer_.frames(); }
   RawPeer& peer() { return peer_; }

private:
   RawPeer peer_;
};

// An address of its own with a scripted service at a free port and a locator that knows the port.
class RemotePeer
{
public:
   explicit RemotePeer(Script script);
   explicit RemotePeer(std::vector<Script> scripts);

   const std::string& host() const { return address_.text(); }
   RawPeer& service() { return service_; }
   LocatorPeer& locator() { return locator_; }

private:
   LoopbackAddress address_;
   RawPeer service_;
   LocatorPeer locator_;
};

} // namespace zerova::test

#endif
