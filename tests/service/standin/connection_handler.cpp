#include "service/standin/connection_handler.h"

#include "service/standin/refusal.h"

namespace zerova::standin {

ConnectionHandler::ConnectionHandler(SharedState& shared, ConnectionId connection,
                                     RouteLifetime::type lifetime)
   : shared_(shared)
   , connection_(connection)
   , lifetime_(lifetime)
{
}

ConnectionHandler::~ConnectionHandler()
{
   locked([&](RoutingModel& model) { model.endConnection(connection_); });
}

void ConnectionHandler::version(const std::string& version)
{
   if (version == "1.0") return;
   throw Refusal(kUnsupportedVersion)
      .usage("kUsageTypeValue", version)
      .usageList("kUsageTypePossibleValues", {"1.0"})
      .status();
}

std::int32_t ConnectionHandler::calculateRoute(const std::string& source,
                                               const std::string& destination,
                                               const RouteAttributes& attributes)
{
   return locked([&](RoutingModel& model) {
      return model.calculateRoute(connection_, lifetime_, source, destination, attributes);
   });
}

void ConnectionHandler::reserveRoute(std::int32_t ticket)
{
   locked([&](RoutingModel& model) { model.reserveRoute(ticket); });
}

void ConnectionHandler::programRoute(std::int32_t ticket)
{
   locked([&](RoutingModel& model) { model.programRoute(ticket); });
}

void ConnectionHandler::unprogramRoute(std::int32_t ticket)
{
   locked([&](RoutingModel& model) { model.unprogramRoute(ticket); });
}

void ConnectionHandler::unreserveRoute(std::int32_t ticket)
{
   locked([&](RoutingModel& model) { model.unreserveRoute(ticket); });
}

void ConnectionHandler::destroyRoute(std::int32_t ticket)
{
   locked([&](RoutingModel& model) { model.destroyRoute(ticket); });
}

void ConnectionHandler::destroyImmediateRoute(const std::string& source,
                                              const std::string& destination)
{
   locked([&](RoutingModel& model) { model.destroyImmediateRoute(source, destination); });
}

void ConnectionHandler::destroyImmediateRoutesOnDevice(const std::string& device)
{
   locked([&](RoutingModel& model) { model.destroyImmediateRoutesOnDevice(device); });
}

void ConnectionHandler::destroyImmediateRoutesFromSource(const std::string& source)
{
   locked([&](RoutingModel& model) { model.destroyImmediateRoutesFromSource(source); });
}

void ConnectionHandler::destroyImmediateRoutesToDest(const std::string& destination)
{
   locked([&](RoutingModel& model) { model.destroyImmediateRoutesToDest(destination); });
}

void ConnectionHandler::getRouteInfo(std::vector<DeviceInfo>& devices, std::int32_t ticket)
{
   devices = locked([&](RoutingModel& model) { return model.routeInfo(ticket); });
}

std::int32_t ConnectionHandler::getSystemChangeNumber()
{
   return locked([](RoutingModel& model) { return model.changeNumber(); });
}

bool ConnectionHandler::hasTerminalInformationChanged(std::int32_t changeNumber)
{
   return changeNumber != getSystemChangeNumber();
}

void ConnectionHandler::getRoutableDevices(std::vector<std::string>& devices)
{
   devices = locked([](RoutingModel& model) { return model.routableDevices(); });
}

void ConnectionHandler::getTerminalNamesAndAttributesForDevice(
   std::vector<Attributes>& terminals, const std::string& device,
   const std::vector<std::string>& names)
{
   terminals = locked([&](RoutingModel& model) { return model.terminals(device, names); });
}

void ConnectionHandler::resetTerminal(const std::string& uri, const std::string& type)
{
   locked([&](RoutingModel& model) { model.resetTerminal(uri, type); });
}

std::int32_t ConnectionHandler::calculateResetTerminal(const std::string& uri,
                                                       const std::string& type)
{
   return locked(
      [&](RoutingModel& model) { return model.calculateResetTerminal(connection_, uri, type); });
}

void ConnectionHandler::initiateDeviceReset(const std::string& device)
{
   locked([&](RoutingModel& model) { model.initiateDeviceReset(connection_, device); });
}

void ConnectionHandler::completeDeviceReset(const std::string& device)
{
   locked([&](RoutingModel& model) { model.completeDeviceReset(device); });
}

bool ConnectionHandler::isDebug()
{
   return shared_.isDebug;
}

bool ConnectionHandler::validateTerminalURI(const std::string& uri)
{
   return locked([&](RoutingModel& model) { return model.isTerminal(uri); });
}

bool ConnectionHandler::areTerminalURIsEqual(const std::string& uri1, const std::string& uri2)
{
   return locked([&](RoutingModel& model) { return model.areEqual(uri1, uri2); });
}

} // namespace zerova::standin
