// Serves the connections of one endpoint, each on a thread of its own.
#ifndef TESTS_SERVICE_ACCEPTOR_H
#define TESTS_SERVICE_ACCEPTOR_H

#include "service/stream.h"

#include <functional>
#include <memory>
#include <string>

namespace zerova::test {

class Acceptor
{
public:
   // Called once for each connection; returns when the connection is done with, at the latest when
   // stop is raised. What it throws ends the process: a server of the tests must not fail silently.
   using Serve = std::function<void(Stream& stream, const StopSignal& stop)>;

   Acceptor(Listener listener, std::string threadName, Serve serve);
   ~Acceptor(); // as stop()
   Acceptor(const Acceptor&) = delete;
   Acceptor& operator=(const Acceptor&) = delete;

   // Ends all connections, waits for their threads and closes the endpoint. May be called again.
   void stop();

   std::uint16_t port() const { return port_; }
   const std::string& description() const { return description_; }

private:
   class Workers;

   void acceptAll(Workers& workers);

   std::uint16_t port_;
   std::string description_;
   std::string threadName_;
   Serve serve_;
   StopSignal stop_;
   std::unique_ptr<Listener> listener_;
   std::unique_ptr<Workers> workers_;
};

} // namespace zerova::test

#endif
