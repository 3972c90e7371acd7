#include "service/routing_service.h"

#include "service/stream.h"
#include "tools/simulator/service.h"
#include "tools/simulator/topology_file.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <stdexcept>
#include <thread>

namespace zerova::test {

namespace {

const simulator::Topology& laboratory()
{
   static const simulator::Topology topology = [] {
      simulator::ReadTopology read = simulator::readTopologyFile(ZEROVA_LABORATORY);
      if (!read.mistakes.empty()) throw std::runtime_error(read.mistakes.front().shown());
      return read.topology;
   }();
   return topology;
}

simulator::ServiceOptions optionsFrom(const RoutingServiceOptions& given)
{
   simulator::ServiceOptions options;
   if (given.local)
      options.endpointDir = given.endpointDir.empty() ? buildEndpointDir() : given.endpointDir;
   options.address = given.address;
   options.port = given.port;
   options.locatorPort = given.locatorPort;
   options.isDebug = given.isDebug;
   return options;
}

} // namespace

class RoutingService::Running
{
public:
   explicit Running(const RoutingServiceOptions& options)
      : bench_(laboratory())
      , service_(bench_, optionsFrom(options))
   {
      service_.setChanged([this] {
         {
            const std::lock_guard lock(mutex_);
            connectionCount_ = service_.connectionCount();
         }
         changed_.notify_all();
      });
      thread_ = std::thread([this] {
         nameThread("service");
         service_.run();
      });
   }
   ~Running()
   {
      service_.stop();
      thread_.join();
   }
   Running(const Running&) = delete;
   Running& operator=(const Running&) = delete;

   const simulator::Service& service() const { return service_; }
   std::size_t routeCount() const
   {
      std::size_t count = 0;
      service_.atRest([&] { count = bench_.routes().size(); });
      return count;
   }

   bool waitForConnectionCount(std::size_t count)
   {
      std::unique_lock lock(mutex_);
      return changed_.wait_for(lock, std::chrono::seconds(30),
                               [&] { return connectionCount_ == count; });
   }

private:
   simulator::Bench bench_;
   simulator::Service service_;
   std::mutex mutex_; // of the count
   std::condition_variable changed_;
   std::size_t connectionCount_ = 0;
   std::thread thread_; // last: it uses the rest
};

RoutingService::RoutingService(const RoutingServiceOptions& options)
   : running_(std::make_unique<Running>(options))
{
}

RoutingService::~RoutingService() = default;

const std::vector<std::string>& RoutingService::endpoints() const
{
   return running_->service().endpoints();
}

std::uint16_t RoutingService::port() const
{
   return running_->service().port();
}

std::size_t RoutingService::connectionCount() const
{
   std::size_t count = 0;
   running_->service().atRest([&] { count = running_->service().connectionCount(); });
   return count;
}

std::size_t RoutingService::routeCount() const
{
   return running_->routeCount();
}

bool RoutingService::waitForConnectionCount(std::size_t count) const
{
   return running_->waitForConnectionCount(count);
}

} // namespace zerova::test
