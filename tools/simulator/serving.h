// Serves a bench as the command line asks, until the program is told to end.
#ifndef TOOLS_SIMULATOR_SERVING_H
#define TOOLS_SIMULATOR_SERVING_H

#include "service/loopback_address.h"
#include "tools/simulator/invocation.h"
#include "tools/simulator/picture.h"
#include "tools/simulator/service.h"

#include <fstream>
#include <memory>
#include <optional>
#include <string>

namespace CLI {
class App;
}

namespace zerova::simulator {

// What one system alone can do, and what its help says of that.
struct SystemHelp
{
   const char* endpointDir;
   const char* footer;
};
SystemHelp helpOfSystem();
void declareOptionsOfSystem(CLI::App& app, Invocation& in);
// Throws Failure if this system cannot do what is asked.
void requireThatSystemCan(const Invocation& in);
// Serves, and returns what the program ends with.
int serve(const Invocation& in, Topology topology);

// The line of the endpoints, on standard output; throws Failure.
void printReady(const std::string& line);

class LogFile
{
public:
   explicit LogFile(const std::string& file);

   void write(const std::string& line);
   bool isBroken() const { return isBroken_; }

private:
   const std::string file_;
   std::ofstream stream_;
   bool isBroken_ = false;
};

// What serving is on every system: a bench, its endpoints, its log and its picture.
class Simulation
{
public:
   Simulation(const Invocation& in, Topology topology);
   Simulation(const Simulation&) = delete;
   Simulation& operator=(const Simulation&) = delete;

   // Throws Failure if an endpoint cannot be had. Anew: at a host of its own, too.
   void open(const std::string& endpointDir);
   void openAtOwnHost(const std::string& endpointDir);
   Service& service() { return *service_; }
   // The address of TCP, empty if there is none.
   const std::string& host() const { return host_; }
   std::string readyLine() const;
   // Until the service is stopped. False: the log could not be written to its end.
   bool run();

private:
   const Invocation& in_;
   Bench bench_;
   std::optional<LogFile> log_;
   std::optional<test::LoopbackAddress> own_;
   std::string host_;
   std::unique_ptr<Service> service_;
   std::string drawn_;
   std::unique_ptr<Painter> painter_;
};

} // namespace zerova::simulator

#endif
