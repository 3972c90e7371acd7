#include "service/standin/routing_service.h"

#include "service/standin/stream_transport.h"

#include <thrift/TProcessor.h>
#include <thrift/protocol/TBinaryProtocol.h>
#include <thrift/transport/TBufferTransports.h>
#include <thrift/transport/TTransportException.h>

#include <chrono>

namespace zerova::standin {

using apache::thrift::protocol::TBinaryProtocol;
using apache::thrift::protocol::TProtocolException;
using apache::thrift::transport::TFramedTransport;
using apache::thrift::transport::TTransportException;
using test::Listener;

// Delegates, so that a failure half way ends by way of the destructor.
RoutingService::RoutingService(const ServiceOptions& options)
   : RoutingService()
{
   shared_.isDebug = options.isDebug;
   if (options.local) {
      const std::string folder =
         options.endpointDir.empty() ? test::buildEndpointDir() : options.endpointDir;
      listen(Listener::local("com.zerova", folder), "service-local", RouteLifetime::SESSION);
      listen(Listener::local("com.zerova.immediate", folder), "service-immed",
             RouteLifetime::IMMEDIATE);
      endpoints_.push_back("local " + folder);
   }
   if (options.address.empty()) return;
   listen(Listener::tcp(options.address, options.port), "service-tcp", RouteLifetime::SESSION);
   port_ = acceptors_.back()->port();
   endpoints_.push_back("tcp " + acceptors_.back()->description());
   if (!options.locatorPort) return;
   locator_ = std::make_unique<Locator>(options.address, *options.locatorPort, port_);
   endpoints_.push_back("locator " + locator_->description());
}

RoutingService::~RoutingService()
{
   locator_.reset();
   // The first endpoint may have made the folder, so it goes last.
   while (!acceptors_.empty())
      acceptors_.pop_back();
}

void RoutingService::listen(Listener listener, const std::string& threadName,
                            RouteLifetime::type lifetime)
{
   acceptors_.push_back(std::make_unique<test::Acceptor>(
      std::move(listener), threadName,
      [this, lifetime](test::Stream& stream, const test::StopSignal& stop) {
         serve(stream, stop, lifetime);
      }));
}

void RoutingService::serve(test::Stream& stream, const test::StopSignal& stop,
                           RouteLifetime::type lifetime)
{
   countConnections(+1);
   {
      const auto transport = std::make_shared<StreamTransport>(stream, stop);
      const auto protocol =
         std::make_shared<TBinaryProtocol>(std::make_shared<TFramedTransport>(transport));
      APIv1Processor processor(
         std::make_shared<ConnectionHandler>(shared_, nextConnection_++, lifetime));
      try {
         while (processor.process(protocol, protocol, nullptr)) {
         }
      } catch (const TTransportException&) {
         // The client has gone, or sent what is no frame: the connection is over either way.
      } catch (const TProtocolException&) {
         // The client does not speak the protocol.
      }
   }
   countConnections(-1);
}

void RoutingService::countConnections(std::ptrdiff_t change)
{
   {
      const std::lock_guard lock(mutex_);
      connectionCount_ += static_cast<std::size_t>(change);
   }
   changed_.notify_all();
}

std::size_t RoutingService::connectionCount() const
{
   const std::lock_guard lock(mutex_);
   return connectionCount_;
}

std::size_t RoutingService::routeCount() const
{
   const std::lock_guard lock(shared_.mutex);
   return shared_.model.routeCount();
}

bool RoutingService::waitForConnectionCount(std::size_t count) const
{
   std::unique_lock lock(mutex_);
   return changed_.wait_for(lock, std::chrono::seconds(30),
                            [&] { return connectionCount_ == count; });
}

} // namespace zerova::standin
