#include "transport/client_session.h"

#include "platform/process.h"
#include "platform/socket.h"
#include "transport/client_framing.h"
#include "transport/client_protocol.h"
#include "transport/locator_client.h"
#include "transport/pipe_transport.h"
#include "transport/socket_calls.h"

#include <thrift/Thrift.h>
#include <thrift/transport/TSocket.h>

#include <chrono>
#include <thread>

namespace zerova {

using apache::thrift::transport::TPipe;
using apache::thrift::transport::TSocket;
using apache::thrift::transport::TTransport;

namespace {

constexpr const char* kServicePath = "Trevanta/Zerova";

// The output of the Thrift that is linked in is ours alone. A build on the system's Thrift shares it
// with the host, which must not lose its own by a load of the library, or by translating messages.
// Nothing of ours can write a message before the first session begins.
void silenceThriftOnce()
{
   static const bool silent = [] {
      apache::thrift::GlobalOutput.setOutputFunction([](const char*) {});
      return true;
   }();
   static_cast<void>(silent);
}

// A service learns of a session's end from the end of its connection alone. A new program that has
// inherited the socket would keep it alive; a Thrift that is not linked in creates it inheritable.
// And a child that is a copy of this process has a copy of the session: what it shuts down is shut
// down for its parent as well.
class RemoteTransport : public TSocket
{
public:
   using TSocket::TSocket;
   RemoteTransport(const RemoteTransport&) = delete;
   RemoteTransport& operator=(const RemoteTransport&) = delete;
   ~RemoteTransport() override { RemoteTransport::close(); }

   void open() override
   {
      owner_ = platform::processNumber();
      TSocket::open();
      platform::keepFromChildren(static_cast<platform::Socket>(getSocketFD()));
   }

   void close() override
   {
      if (isOpen() && platform::processNumber() != owner_) {
         platform::closeSocket(static_cast<platform::Socket>(socket_));
         socket_ = THRIFT_INVALID_SOCKET;
      }
      TSocket::close();
   }

   // Of an open one: whether read would not have to wait.
   bool canRead() const
   {
      platform::SocketWatch watch{static_cast<platform::Socket>(socket_), true, false, false};
      return platform::waitForSockets(&watch, 1, 0) != platform::SocketWait::timedOut;
   }

private:
   uint32_t owner_ = 0;
};

// The transport must outlive it.
template <typename Transport>
class TransportWatch final : public AnswerWatch
{
public:
   explicit TransportWatch(const Transport& transport)
      : transport_(transport)
   {
   }
   bool hasCome() override { return !transport_.isOpen() || transport_.canRead(); }
   void yield() override { std::this_thread::yield(); }
   int64_t now() override
   {
      const auto time = std::chrono::steady_clock::now().time_since_epoch();
      return std::chrono::nanoseconds(time).count();
   }

private:
   const Transport& transport_;
};

// 0 if there is no port to be had: the connection then fails by itself.
int findServicePort(const std::string& host)
{
   if (!sockInit()) return 0;
   const int port = lookupServicePort(host.c_str(), kServicePath);
   sockShutdown();
   return port;
}

std::shared_ptr<TTransport> makeTransport(const std::string& pipeName, const std::string& host)
{
   if (host.empty()) return std::make_shared<TPipe>(pipeName);
   return std::make_shared<RemoteTransport>(host, findServicePort(host));
}

// Null in a session of other make than ours.
ClientFraming* framingOf(ClientSession& session)
{
   return dynamic_cast<ClientFraming*>(session.framed.get());
}

} // namespace

std::unique_ptr<AnswerWatch> watchOf(const TTransport& transport)
{
   if (const auto* const pipe = dynamic_cast<const TPipe*>(&transport))
      return std::make_unique<TransportWatch<TPipe>>(*pipe);
   if (const auto* const remote = dynamic_cast<const RemoteTransport*>(&transport))
      return std::make_unique<TransportWatch<RemoteTransport>>(*remote);
   return nullptr;
}

std::unique_ptr<ClientSession> makeClientSession(const std::shared_ptr<TTransport>& transport)
{
   silenceThriftOnce();
   const auto framed = std::make_shared<ClientFraming>(transport);
   framed->watchAnswers(watchOf(*transport));
   const auto protocol = std::make_shared<ClientProtocol>(framed);
   std::unique_ptr<ClientSession> session(
      new ClientSession{transport, framed, protocol, APIv1Client(protocol)});
   return session;
}

std::unique_ptr<ClientSession> openClientSession(const std::string& pipeName,
                                                 const std::string& host)
{
   const std::shared_ptr<TTransport> transport = makeTransport(pipeName, host);
   std::unique_ptr<ClientSession> session = makeClientSession(transport);
   transport->open();
   return session;
}

std::span<const uint8_t> receiveWholeReply(ClientSession& session)
{
   ClientFraming* const framing = framingOf(session);
   return framing ? framing->receiveWholeReply() : std::span<const uint8_t>();
}

void endWholeReply(ClientSession& session)
{
   framingOf(session)->endWholeReply();
}

void dropUnfinishedCall(ClientSession& session)
{
   ClientFraming* const framing = framingOf(session);
   if (framing && !framing->dropUnfinished()) session.transport->close();
}

} // namespace zerova
