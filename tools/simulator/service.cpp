#include "tools/simulator/service.h"

#include "tools/simulator/service_loop.h"

#include <utility>

namespace zerova::simulator {

using test::Listener;

Service::Loop::Loop(Bench& bench, const ServiceOptions& options)
   : Conversations(bench, options)
   , mostConnections(options.mostConnections)
{
}

void Service::Loop::openEndpoints(const ServiceOptions& options, int backlog)
{
   if (!options.endpointDir.empty()) {
      listen(Listener::local("com.zerova", options.endpointDir, backlog), Endpoint::kSession);
      listen(Listener::local("com.zerova.immediate", options.endpointDir, backlog),
             Endpoint::kImmediate);
      endpoints.push_back("local " + options.endpointDir);
   }
   if (options.address.empty()) return;
   port = listenAt(options, options.port, backlog, Endpoint::kTcp, "tcp ");
   setPort(port);
   if (options.locatorPort)
      listenAt(options, *options.locatorPort, backlog, Endpoint::kLocator, "locator ");
}

std::uint16_t Service::Loop::listenAt(const ServiceOptions& options, std::uint16_t wanted,
                                      int backlog, Endpoint endpoint, const std::string& name)
{
   Listener listener = Listener::tcp(options.address, wanted, backlog);
   const std::uint16_t taken = listener.port();
   endpoints.push_back(name + listener.description());
   listen(std::move(listener), endpoint);
   return taken;
}

void Service::Loop::tellChange()
{
   if (takeChange() && changed) changed();
}

Service::Service(Bench& bench, const ServiceOptions& options)
   : loop_(Loop::make(bench, options))
{
}

Service::~Service() = default;

const std::vector<std::string>& Service::endpoints() const
{
   return loop_->endpoints;
}

std::uint16_t Service::port() const
{
   return loop_->port;
}

std::size_t Service::mostConnections() const
{
   return loop_->mostConnections;
}

void Service::setLog(Log log)
{
   loop_->setLog(std::move(log));
}

void Service::setChanged(std::function<void()> changed)
{
   loop_->changed = std::move(changed);
}

void Service::watch(test::NativeHandle handle, std::function<void()> ready)
{
   loop_->watch(handle, std::move(ready));
}

void Service::run()
{
   loop_->run();
}

void Service::stop()
{
   loop_->stop.raise();
}

void Service::atRest(const std::function<void()>& use) const
{
   const std::lock_guard lock(loop_->busy);
   use();
}

std::size_t Service::connectionCount() const
{
   return loop_->clientCount();
}

} // namespace zerova::simulator
