#include "tools/simulator/serving.h"

#include "tools/support/utf8_path.h"

#include <cerrno>
#include <iostream>
#include <system_error>
#include <utility>

namespace zerova::simulator {

namespace {

std::string why()
{
   return std::generic_category().message(errno);
}

} // namespace

void printReady(const std::string& line)
{
   if (!(std::cout << line << std::flush))
      throw Failure(kBroken, "standard output cannot be written to: " + why());
}

LogFile::LogFile(const std::string& file)
   : file_(file)
   , stream_(tools::pathOf(file), std::ios::binary)
{
   if (!stream_) throw Failure(kWrongUse, "cannot write " + file_ + ": " + why());
}

void LogFile::write(const std::string& line)
{
   if (isBroken_) return;
   stream_ << line << std::flush;
   if (stream_) return;
   isBroken_ = true;
   say("cannot write " + file_ + ": " + why() + "; calls are no longer logged");
}

Simulation::Simulation(const Invocation& in, Topology topology)
   : in_(in)
   , bench_(std::move(topology))
   , host_(in.tcp)
{
   if (!in_.log.empty()) log_.emplace(in_.log);
   if (in_.tcp == "own") host_ = own_.emplace().text();
}

void Simulation::open(const std::string& endpointDir)
{
   ServiceOptions options;
   options.mostConnections = in_.mostConnections;
   options.isDebug = in_.isDebug;
   options.endpointDir = endpointDir;
   options.address = host_;
   options.port = in_.port;
   if (!in_.hasNoLocator) options.locatorPort = in_.locatorPort;
   try {
      service_ = std::make_unique<Service>(bench_, options);
   } catch (const std::runtime_error& error) {
      throw Failure(kNoEndpoint, error.what());
   }
   if (service_->mostConnections() < in_.mostConnections)
      say("the system gives files for " + std::to_string(service_->mostConnections()) +
          " clients at one time only");
}

void Simulation::openAtOwnHost(const std::string& endpointDir)
{
   host_ = own_.emplace().text();
   service_.reset();
   open(endpointDir);
}

std::string Simulation::readyLine() const
{
   std::string line = "ready";
   for (const std::string& endpoint : service_->endpoints())
      line += "  " + endpoint;
   return line + "\n";
}

bool Simulation::run()
{
   if (in_.isWatching) {
      painter_ = std::make_unique<Painter>(in_.picture, say);
      drawn_ = dotOf(bench_);
      painter_->draw(drawn_);
      service_->setChanged([this] {
         std::string dot = dotOf(bench_);
         if (dot == drawn_) return;
         drawn_ = std::move(dot);
         painter_->draw(drawn_);
      });
   }
   if (log_) service_->setLog([this](const std::string& line) { log_->write(line); });
   service_->run();
   return !log_ || !log_->isBroken();
}

} // namespace zerova::simulator
