// The simulator's service inside a test, and clients of it.
#ifndef TESTS_TOOLS_SIMULATOR_RUNNING_SERVICE_H
#define TESTS_TOOLS_SIMULATOR_RUNNING_SERVICE_H

#include "support/scratch_folder.h"
#include "tools/simulator/bench.h"
#include "tools/simulator/calls.h"
#include "tools/simulator/service.h"
#include "tools/simulator/topology_file.h"
#include "unit/service/stub_client.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace zerova::simulator {

inline Topology exampleBench(const std::string& name)
{
   ReadTopology read = readTopologyFile(ZEROVA_BENCHES_DIR "/" + name + ".toml");
   for (const Mistake& mistake : read.mistakes)
      ADD_FAILURE() << mistake.shown();
   return read.topology;
}

inline Topology exampleWithFault(const std::string& fault)
{
   Topology topology = exampleBench("trigger_bench");
   for (const Mistake& mistake : addFault(topology, fault))
      ADD_FAILURE() << mistake.shown();
   return topology;
}

// Serves until it is destroyed. The log may be read behind finish().
class RunningService
{
public:
   explicit RunningService(Topology topology, ServiceOptions options = {})
      : bench_(std::move(topology))
      , service_(bench_, withFolder(options))
   {
      service_.setLog([this](const std::string& line) { log_.push_back(Json::parse(line)); });
      thread_ = std::thread([this] { service_.run(); });
   }
   ~RunningService() { finish(); }
   RunningService(const RunningService&) = delete;
   RunningService& operator=(const RunningService&) = delete;

   void finish()
   {
      if (!thread_.joinable()) return;
      service_.stop();
      thread_.join();
   }

   test::Stream connectRaw(const std::string& name = "com.zerova") const
   {
      return test::Stream::connectLocal(name, folder());
   }
   std::unique_ptr<test::Client> connect(const std::string& name = "com.zerova") const
   {
      return std::make_unique<test::Client>(connectRaw(name));
   }

   std::string folder() const { return scratch_.path("endpoints"); }
   const Service& service() const { return service_; }
   const Bench& bench() const { return bench_; } // behind finish()
   const std::vector<Json>& log() const { return log_; }

private:
   ServiceOptions withFolder(ServiceOptions options) const
   {
      options.endpointDir = folder();
      return options;
   }

   ScratchFolder scratch_;
   Bench bench_;
   Service service_;
   std::vector<Json> log_;
   std::thread thread_;
};

} // namespace zerova::simulator

#endif
