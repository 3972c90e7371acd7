// The stack under a session: byte transport, frame layer, binary protocol, client.
#ifndef TRANSPORT_CLIENT_SESSION_H
#define TRANSPORT_CLIENT_SESSION_H

#include "APIv1.h"
#include "transport/answer_wait.h"

#include <thrift/protocol/TProtocol.h>
#include <thrift/transport/TTransport.h>

#include <cstdint>
#include <memory>
#include <span>
#include <string>

namespace zerova {

// Built whole and destroyed whole, in the reverse order of the fields. It closes nothing itself:
// the transport closes in its destructor, when its last reference falls.
struct ClientSession
{
   std::shared_ptr<apache::thrift::transport::TTransport> transport; // a TPipe or a TSocket
   std::shared_ptr<apache::thrift::transport::TTransport> framed;
   std::shared_ptr<apache::thrift::protocol::TProtocol> protocol;
   APIv1Client client;
};

// What a session on the transport, which must outlive it, waits for its answers with. Null for a
// transport that cannot be asked whether something has come: there all answers are slept for.
std::unique_ptr<AnswerWatch> watchOf(const apache::thrift::transport::TTransport& transport);

// Builds a stack on a transport, which it leaves as it is.
std::unique_ptr<ClientSession>
makeClientSession(const std::shared_ptr<apache::thrift::transport::TTransport>& transport);

// Builds a stack and opens its transport: TCP to host at the port that the host's locator names, or
// the local pipe pipeName when host is empty. Throws what the transport throws.
std::unique_ptr<ClientSession> openClientSession(const std::string& pipeName,
                                                 const std::string& host);

// Receives the reply to the request that was just sent, for those who read it from its bytes. The
// client finds it unread until endWholeReply is called, or receives it itself if there are no bytes.
std::span<const uint8_t> receiveWholeReply(ClientSession& session);
void endWholeReply(ClientSession& session);

// Brings a session back in step whose call ended for lack of memory, so that the next call finds it
// as if that one had not been made. Where that cannot be shown, closes its transport: the next call
// must not take for its own what was the answer to this one. Allocates nothing.
void dropUnfinishedCall(ClientSession& session);

} // namespace zerova

#endif
