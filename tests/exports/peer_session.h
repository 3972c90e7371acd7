// A session of the library on a scripted service.
#ifndef TESTS_EXPORTS_PEER_SESSION_H
#define TESTS_EXPORTS_PEER_SESSION_H

#include "service/locator_peer.h"
#include "service/raw_peer.h"
#include "zerovaapi.h"

#include <string>
#include <vector>

namespace zerova::test {

// What a service does that accepts the version and answers every further call with reply.
Script answering(std::string reply);
// What a service does that accepts the version and answers every call as it would succeed.
Script answeringPlainly();
// What a service does that accepts the version, receives one call, sends bytes and closes.
Script sendingOnce(std::string bytes, std::size_t cutAfter = Script::kAll);

// Connected for as long as it lives. The service is at a loopback address of its own, behind a
// locator, so tests of this kind can run side by side.
class PeerSession
{
public:
   explicit PeerSession(Script script); // throws std::runtime_error when there is no session
   ~PeerSession();
   PeerSession(const PeerSession&) = delete;
   PeerSession& operator=(const PeerSession&) = delete;

   operator zerovaapi_Session() const { return session_; }

   // The requests that came so far, that of the version left out, each with its length.
   std::vector<std::string> requests();

private:
   RemotePeer peer_;
   zerovaapi_Session session_;
};

} // namespace zerova::test

#endif
