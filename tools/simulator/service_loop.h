// A service at work, but for how it waits, which each system has its own way of.
#ifndef TOOLS_SIMULATOR_SERVICE_LOOP_H
#define TOOLS_SIMULATOR_SERVICE_LOOP_H

#include "tools/simulator/conversations.h"

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace zerova::simulator {

class Service::Loop : public Conversations
{
public:
   static std::unique_ptr<Loop> make(Bench& bench, const ServiceOptions& options);

   virtual void watch(test::NativeHandle handle, std::function<void()> ready) = 0;
   virtual void run() = 0;

   std::vector<std::string> endpoints;
   std::uint16_t port = 0;
   std::size_t mostConnections;
   std::function<void()> changed;
   test::StopSignal stop;
   std::mutex busy; // held while anything is carried out

protected:
   Loop(Bench& bench, const ServiceOptions& options);

   virtual void listen(test::Listener listener, Endpoint endpoint) = 0;
   void openEndpoints(const ServiceOptions& options, int backlog);
   void tellChange();

private:
   std::uint16_t listenAt(const ServiceOptions& options, std::uint16_t port, int backlog,
                          Endpoint endpoint, const std::string& name);
};

} // namespace zerova::simulator

#endif
