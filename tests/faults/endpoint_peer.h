// A scripted service at either endpoint.
#ifndef TESTS_FAULTS_ENDPOINT_PEER_H
#define TESTS_FAULTS_ENDPOINT_PEER_H

#include "faults/endpoint.h"
#include "service/locator_peer.h"
#include "service/raw_peer.h"

#include <memory>
#include <utility>
#include <vector>

namespace zerova::test {

class EndpointPeer
{
public:
   EndpointPeer(Endpoint endpoint, std::vector<Script> scripts)
      : endpoint_(endpoint)
   {
      if (endpoint == Endpoint::local)
         local_ = std::make_unique<RawPeer>(Listener::local("com.zerova"), std::move(scripts));
      else
         remote_ = std::make_unique<RemotePeer>(std::move(scripts));
   }

   RawPeer& service() { return local_ ? *local_ : remote_->service(); }
   zerovaapi_Session connect(quelerr_Status* status) const
   {
      return createSession(endpoint_, remote_ ? remote_->host() : "", status);
   }

private:
   Endpoint endpoint_;
   std::unique_ptr<RawPeer> local_;
   std::unique_ptr<RemotePeer> remote_;
};

} // namespace zerova::test

#endif
