#include "service/standin/routing_model.h"

#include "service/standin/refusal.h"
#include "service/standin/terminal_uri.h"

#include <algorithm>
#include <utility>

namespace zerova::standin {

namespace {

const char* nameOf(RouteState::type state)
{
   return _RouteState_VALUES_TO_NAMES.at(state);
}

void requireResetType(const std::string& type)
{
   if (type == "disconnect" || type == "tristate") return;
   throw Refusal(kUnknownResetType)
      .usage("kUsageTypeValue", type)
      .usageList("kUsageTypePossibleValues", {"disconnect", "tristate"})
      .status();
}

} // namespace

Ticket RoutingModel::calculateRoute(ConnectionId connection, RouteLifetime::type lifetime,
                                    const std::string& source, const std::string& destination,
                                    const RouteAttributes& attributes)
{
   RoutePlan plan = planRoute(inventory_, present(), source, destination, attributes);
   const Ticket ticket =
      add({connection, attributes.__isset.lifetime ? attributes.lifetime : lifetime,
           attributes.owner_name, inventory_.terminal(source), inventory_.terminal(destination),
           std::move(plan)});
   try {
      bringTo(ticket, attributes.routeState);
   } catch (const ThriftStatus&) {
      routes_.erase(ticket);
      throw;
   }
   return ticket;
}

Ticket RoutingModel::calculateResetTerminal(ConnectionId connection, const std::string& uri,
                                            const std::string& type)
{
   const Place place = inventory_.terminal(uri);
   requireResetType(type);
   Route route = {connection, RouteLifetime::SESSION, {}, place, place, {}};
   route.plan.way = {place};
   route.resetType = type;
   return add(std::move(route));
}

Ticket RoutingModel::add(Route route)
{
   const Ticket ticket = nextTicket_++;
   routes_.emplace(ticket, std::move(route));
   return ticket;
}

RoutingModel::Route& RoutingModel::find(Ticket ticket)
{
   return const_cast<Route&>(std::as_const(*this).find(ticket));
}

const RoutingModel::Route& RoutingModel::find(Ticket ticket) const
{
   const auto found = routes_.find(ticket);
   if (found == routes_.end()) throw Refusal(kUnknownTicket).member("ticket", ticket).status();
   return found->second;
}

void RoutingModel::reserveRoute(Ticket ticket)
{
   step(ticket, "reserve", RouteState::CALCULATED, RouteState::RESERVED);
}

void RoutingModel::programRoute(Ticket ticket)
{
   step(ticket, "program", RouteState::RESERVED, RouteState::PROGRAMMED);
}

void RoutingModel::unprogramRoute(Ticket ticket)
{
   step(ticket, "unprogram", RouteState::PROGRAMMED, RouteState::RESERVED);
}

void RoutingModel::unreserveRoute(Ticket ticket)
{
   step(ticket, "unreserve", RouteState::RESERVED, RouteState::CALCULATED);
}

void RoutingModel::step(Ticket ticket, const char* name, RouteState::type from, RouteState::type to)
{
   Route& route = find(ticket);
   if (route.state != from)
      throw Refusal(kWrongRouteState)
         .member("ticket", ticket)
         .member("step", name)
         .member("route_state", nameOf(route.state))
         .member("needed_route_state", nameOf(from))
         .usage("kUsageTypeSourceTerminal", route.source.terminal->uri)
         .usage("kUsageTypeDestinationTerminal", route.destination.terminal->uri)
         .status();
   if (to > from) requireNoReset(route);
   if (to == RouteState::RESERVED && to > from) requireFree(route);
   setState(route, to);
   if (to == RouteState::PROGRAMMED && !route.resetType.empty())
      resetTerminalNow(route.source, route.resetType);
}

void RoutingModel::bringTo(Ticket ticket, RouteState::type target)
{
   if (target >= RouteState::RESERVED) reserveRoute(ticket);
   if (target >= RouteState::PROGRAMMED) programRoute(ticket);
}

void RoutingModel::setState(Route& route, RouteState::type state)
{
   const bool wasHeld = route.isHeld();
   route.state = state;
   if (route.isHeld() != wasHeld) ++changeNumber_;
}

void RoutingModel::requireNoReset(const Route& route) const
{
   for (const auto& reset : resets_)
      if (route.plan.passes(*reset.first))
         throw Refusal(kDeviceInReset).usage("kUsageTypeDevice", reset.first->name).status();
}

// A terminal that somebody drives is nobody else's to drive or to listen at, but one source may
// feed many.
void RoutingModel::requireFree(const Route& route) const
{
   if (!route.resetType.empty()) return;
   for (const auto& [ticket, other] : routes_) {
      if (&other == &route || !other.isHeld()) continue;
      for (const Place& place : route.plan.way) {
         const bool isSharedSource = place == route.source && place == other.source;
         if (isSharedSource || !other.plan.passes(place)) continue;
         throw Refusal(place.terminal->is("IsLine") ? kLineInUse : kTerminalInUse)
            .member("conflicting_ticket", ticket)
            .member("conflicting_owner", other.owner)
            .usage("kUsageTypeDevice", place.device->name)
            .usage("kUsageTypeTerminalString", place.terminal->uri)
            .emptyLine()
            .header("kUsageTypeConflictingChannel")
            .usage("kUsageTypeSourceTerminal", other.source.terminal->uri)
            .usage("kUsageTypeDestinationTerminal", other.destination.terminal->uri)
            .status();
      }
   }
}

void RoutingModel::destroyRoute(Ticket ticket)
{
   const Route& route = find(ticket);
   if (route.lifetime == RouteLifetime::IMMEDIATE)
      throw Refusal(kRouteIsImmediate)
         .member("ticket", ticket)
         .usage("kUsageTypeSourceTerminal", route.source.terminal->uri)
         .usage("kUsageTypeDestinationTerminal", route.destination.terminal->uri)
         .status();
   step(ticket, "destroy", RouteState::CALCULATED, RouteState::CALCULATED);
   routes_.erase(ticket);
}

std::size_t RoutingModel::destroyWhere(const Selection& selection)
{
   std::size_t count = 0;
   for (auto entry = routes_.begin(); entry != routes_.end();) {
      if (!selection(entry->second)) {
         ++entry;
         continue;
      }
      setState(entry->second, RouteState::CALCULATED);
      entry = routes_.erase(entry);
      ++count;
   }
   return count;
}

std::size_t RoutingModel::destroyImmediateWhere(const Selection& selection)
{
   return destroyWhere([&](const Route& route) {
      return route.lifetime == RouteLifetime::IMMEDIATE && selection(route);
   });
}

void RoutingModel::destroyImmediateRoute(const std::string& source, const std::string& destination)
{
   const Place from = inventory_.terminal(source);
   const Place to = inventory_.terminal(destination);
   const auto isMeant = [&](const Route& r) { return r.source == from && r.destination == to; };
   if (destroyImmediateWhere(isMeant) > 0) return;
   throw Refusal(kNoImmediateRoute)
      .usage("kUsageTypeSourceTerminal", from.terminal->uri)
      .usage("kUsageTypeDestinationTerminal", to.terminal->uri)
      .status();
}

void RoutingModel::destroyImmediateRoutesOnDevice(const std::string& name)
{
   const Device& device = inventory_.device(name);
   destroyImmediateWhere([&](const Route& route) { return route.plan.passes(device); });
}

void RoutingModel::destroyImmediateRoutesFromSource(const std::string& source)
{
   const Place from = inventory_.terminal(source);
   destroyImmediateWhere([&](const Route& route) { return route.source == from; });
}

void RoutingModel::destroyImmediateRoutesToDest(const std::string& destination)
{
   const Place to = inventory_.terminal(destination);
   destroyImmediateWhere([&](const Route& route) { return route.destination == to; });
}

void RoutingModel::disconnect(const Selection& selection)
{
   destroyImmediateWhere(selection);
   for (auto& [ticket, route] : routes_)
      if (selection(route)) setState(route, RouteState::CALCULATED);
}

void RoutingModel::resetTerminal(const std::string& uri, const std::string& type)
{
   const Place place = inventory_.terminal(uri);
   requireResetType(type);
   resetTerminalNow(place, type);
}

void RoutingModel::resetTerminalNow(const Place& place, const std::string& type)
{
   const auto isAffected = [&](const Route& route) {
      return route.resetType.empty() && route.plan.passes(place);
   };
   if (type == "disconnect") return disconnect(isAffected);
   for (auto& [ticket, route] : routes_)
      if (isAffected(route) && route.state == RouteState::PROGRAMMED)
         setState(route, RouteState::RESERVED);
}

void RoutingModel::initiateDeviceReset(ConnectionId connection, const std::string& name)
{
   const Device& device = inventory_.device(name);
   if (!resets_.emplace(&device, connection).second)
      throw Refusal(kDeviceInReset).usage("kUsageTypeDevice", device.name).status();
   disconnect([&](const Route& route) { return route.plan.passes(device); });
   ++changeNumber_;
}

void RoutingModel::completeDeviceReset(const std::string& name)
{
   const Device& device = inventory_.device(name);
   if (resets_.erase(&device) == 0)
      throw Refusal(kNoResetInitiated).usage("kUsageTypeDevice", device.name).status();
   ++changeNumber_;
}

void RoutingModel::endConnection(ConnectionId connection)
{
   destroyWhere([&](const Route& route) {
      return route.lifetime != RouteLifetime::IMMEDIATE && route.connection == connection;
   });
   if (std::erase_if(resets_, [&](const auto& reset) { return reset.second == connection; }) > 0)
      ++changeNumber_;
}

} // namespace zerova::standin
