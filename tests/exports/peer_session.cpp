#include "exports/peer_session.h"

#include "service/checked_status.h"
#include "service/wire_bytes.h"

#include <stdexcept>
#include <utility>

namespace zerova::test {

Script answering(std::string reply)
{
   return Script().acceptVersion().answerAll([reply](const std::string&) { return reply; });
}

Script answeringPlainly()
{
   return Script().answerAll([](const std::string& frame) { return plainReply(methodOf(frame)); });
}

Script sendingOnce(std::string bytes, std::size_t cutAfter)
{
   return Script().acceptVersion().receive().send(std::move(bytes), cutAfter).close();
}

PeerSession::PeerSession(Script script)
   : peer_(std::move(script))
{
   CheckedStatus status;
   session_ = zerovaapi_createRemoteSession(peer_.host().c_str(), status);
   if (!session_) throw std::runtime_error("no session on a scripted service: " + status.json());
}

PeerSession::~PeerSession()
{
   zerovaapi_destroySession(session_);
}

std::vector<std::string> PeerSession::requests()
{
   std::vector<std::string> frames = peer_.service().frames();
   frames.erase(frames.begin());
   return frames;
}

} // namespace zerova::test
