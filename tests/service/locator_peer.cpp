#include "service/locator_peer.h"

#include <utility>

namespace zerova::test {

std::string mappingReply(std::uint16_t port)
{
   return "HTTP/1.0 200 OK\r\nContent-Type: text/plain\r\n\r\nMapping=" + std::to_string(port) +
          "\r\n";
}

LocatorPeer::LocatorPeer(const std::string& address, std::string reply, std::uint16_t port)
   : LocatorPeer(address, Script().receiveUntil("\r\n\r\n").send(std::move(reply)), port)
{
}

LocatorPeer::LocatorPeer(const std::string& address, Script script, std::uint16_t port)
   : peer_(Listener::tcp(address, port), std::move(script))
{
}

RemotePeer::RemotePeer(Script script)
   : RemotePeer(std::vector<Script>{std::move(script)})
{
}

RemotePeer::RemotePeer(std::vector<Script> scripts)
   : service_(Listener::tcp(address_.text()), std::move(scripts))
   , locator_(address_.text(), mappingReply(service_.port()))
{
}

} // namespace zerova::test
