// One client's view of the service: the interface's methods on the state that all clients share.
#ifndef TESTS_SERVICE_STANDIN_CONNECTION_HANDLER_H
#define TESTS_SERVICE_STANDIN_CONNECTION_HANDLER_H

#include "APIv1.h"
#include "service/standin/routing_model.h"

#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

namespace zerova::standin {

// What all connections of a service share.
struct SharedState
{
   bool isDebug = false;
   std::mutex mutex; // of the model
   RoutingModel model;
};

// Lives as long as its connection. Each method holds the lock while it works.
class ConnectionHandler final : public APIv1If
{
public:
   // lifetime: of the routes whose attributes say nothing of it.
   ConnectionHandler(SharedState& shared, ConnectionId connection, RouteLifetime::type lifetime);
   ~ConnectionHandler() override; // ends what the connection leaves open

   void version(const std::string& version) override;
   std::int32_t calculateRoute(const std::string& source, const std::string& destination,
                               const RouteAttributes& attributes) override;
   void reserveRoute(std::int32_t ticket) override;
   void programRoute(std::int32_t ticket) override;
   void unprogramRoute(std::int32_t ticket) override;
   void unreserveRoute(std::int32_t ticket) override;
   void destroyRoute(std::int32_t ticket) override;
   void destroyImmediateRoute(const std::string& source, const std::string& destination) override;
   void destroyImmediateRoutesOnDevice(const std::string& device) override;
   void destroyImmediateRoutesFromSource(const std::string& source) override;
   void destroyImmediateRoutesToDest(const std::string& destination) override;
   void getRouteInfo(std::vector<DeviceInfo>& devices, std::int32_t ticket) override;
   std::int32_t getSystemChangeNumber() override;
   bool hasTerminalInformationChanged(std::int32_t changeNumber) override;
   void getRoutableDevices(std::vector<std::string>& devices) override;
   void getTerminalNamesAndAttributesForDevice(std::vector<Attributes>& terminals,
                                               const std::string& device,
                                               const std::vector<std::string>& names) override;
   void resetTerminal(const std::string& uri, const std::string& type) override;
   std::int32_t calculateResetTerminal(const std::string& uri, const std::string& type) override;
   void initiateDeviceReset(const std::string& device) override;
   void completeDeviceReset(const std::string& device) override;
   bool isDebug() override;
   bool validateTerminalURI(const std::string& uri) override;
   bool areTerminalURIsEqual(const std::string& uri1, const std::string& uri2) override;

private:
   template <typename Action>
   auto locked(Action action)
   {
      const std::lock_guard lock(shared_.mutex);
      return action(shared_.model);
   }

   SharedState& shared_;
   const ConnectionId connection_;
   const RouteLifetime::type lifetime_;
};

} // namespace zerova::standin

#endif
