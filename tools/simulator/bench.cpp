#include "tools/simulator/bench.h"

#include "tools/simulator/refusal.h"
#include "tools/simulator/terminal_uri.h"

#include <algorithm>
#include <utility>

namespace zerova::simulator {

namespace {

const char* nameOf(RouteState::type state)
{
   return _RouteState_VALUES_TO_NAMES.at(state);
}

void requireResetType(const std::string& type)
{
   if (type == "disconnect" || type == "tristate") return;
   throw Refusal(kUnknownResetType)
      .row("kUsageTypeValue", type)
      .row("kUsageTypePossibleValues", {"disconnect", "tristate"})
      .status();
}

bool areSame(const Attributes& left, const Attributes& right)
{
   return std::ranges::equal(left, right, [](const auto& one, const auto& other) {
      return one.first == other.first && isSameValue(one.second, other.second);
   });
}

} // namespace

bool Bench::Route::isOn(Node node) const
{
   return std::ranges::find(way.nodes, node) != way.nodes.end();
}

bool Bench::Route::isInside(std::size_t device) const
{
   return std::ranges::find(way.devices, device) != way.devices.end();
}

Bench::Bench(Topology topology)
   : topology_(std::move(topology))
   , search_(topology_)
   , nodes_(topology_.devices.size())
   , lines_(topology_.devices.size())
   , holders_(search_.nodeCount())
{
   for (std::size_t i = 0; i < topology_.devices.size(); ++i) {
      const Device& device = topology_.devices[i];
      devices_.emplace(foldedDeviceName(device.name), i);
      for (const std::string& alias : device.aliases)
         devices_.emplace(foldedDeviceName(alias), i);
      for (std::size_t j = 0; j < device.terminals.size(); ++j)
         nodes_[i].emplace(device.terminals[j].name, search_.nodeOf({i, j}));
   }
   for (std::size_t i = 0; i < topology_.lines.size(); ++i)
      for (const std::size_t device : topology_.lines[i].devices) {
         nodes_[device].emplace(topology_.lines[i].name, search_.nodeOfLine(i));
         lines_[device].push_back(i);
      }
}

Ticket Bench::calculateRoute(ConnectionId connection, RouteLifetime::type lifetime,
                             const std::string& source, const std::string& destination,
                             const RouteAttributes& attributes)
{
   Route route;
   route.connection = connection;
   route.lifetime = attributes.__isset.lifetime ? attributes.lifetime : lifetime;
   route.owner = attributes.owner_name;
   route.source = nodeFrom(source);
   route.destination = nodeFrom(destination);
   route.way = planWay(route.source, route.destination, attributes);
   if (!search_.isLine(route.source)) {
      const std::size_t device = search_.placeOf(route.source).device;
      route.sourceModifiers = requiredModifiers(device, attributes.required_modifiers);
      for (const auto& [name, value] : attributes.optional_modifiers) {
         const Modifier* modifier = this->device(device).findModifier(name);
         if (modifier && modifier->allows(value)) route.sourceModifiers.emplace(name, value);
      }
      route.destinationModifiers = requiredModifiers(search_.placeOf(route.destination).device,
                                                     attributes.destination_required_modifiers);
   }
   if (attributes.routeState >= RouteState::RESERVED) requireFree(route);
   const Ticket ticket = add(std::move(route));
   if (attributes.routeState >= RouteState::RESERVED) reserveRoute(ticket);
   if (attributes.routeState >= RouteState::PROGRAMMED) programRoute(ticket);
   return ticket;
}

Ticket Bench::calculateResetTerminal(ConnectionId connection, const std::string& uri,
                                     const std::string& type)
{
   const Node node = nodeFrom(uri);
   requireResetType(type);
   Route route;
   route.connection = connection;
   route.source = node;
   route.destination = node;
   route.way.nodes = {node};
   route.resetType = type;
   return add(std::move(route));
}

Ticket Bench::add(Route route)
{
   const Ticket ticket = nextTicket_++;
   routes_.emplace(ticket, std::move(route));
   return ticket;
}

Bench::Route& Bench::find(Ticket ticket)
{
   return const_cast<Route&>(std::as_const(*this).find(ticket));
}

const Bench::Route& Bench::find(Ticket ticket) const
{
   const auto found = routes_.find(ticket);
   if (found == routes_.end())
      throw Refusal(kUnknownTicket)
         .member("ticket", ticket)
         .row("kUsageTypeZerovaRouteTicket", ticket)
         .status();
   return found->second;
}

void Bench::reserveRoute(Ticket ticket)
{
   step(ticket, "reserve", RouteState::CALCULATED, RouteState::RESERVED);
}

void Bench::programRoute(Ticket ticket)
{
   step(ticket, "program", RouteState::RESERVED, RouteState::PROGRAMMED);
}

void Bench::unprogramRoute(Ticket ticket)
{
   step(ticket, "unprogram", RouteState::PROGRAMMED, RouteState::RESERVED);
}

void Bench::unreserveRoute(Ticket ticket)
{
   step(ticket, "unreserve", RouteState::RESERVED, RouteState::CALCULATED);
}

void Bench::step(Ticket ticket, const char* name, RouteState::type from, RouteState::type to)
{
   Route& route = find(ticket);
   if (route.state != from)
      throw Refusal(kWrongRouteState)
         .member("ticket", ticket)
         .member("step", name)
         .member("route_state", nameOf(route.state))
         .member("needed_route_state", nameOf(from))
         .row("kUsageTypeZerovaRouteTicket", ticket)
         .row("kUsageTypeSourceTerminal", uriOf(route.source))
         .row("kUsageTypeDestinationTerminal", uriOf(route.destination))
         .status();
   if (to > from)
      for (const auto& reset : resets_)
         if (route.isInside(reset.first))
            throw Refusal(kDeviceInReset)
               .row("kUsageTypeDevice", device(reset.first).name)
               .status();
   if (from == RouteState::CALCULATED && to == RouteState::RESERVED) requireFree(route);
   setState(ticket, route, to);
   if (to == RouteState::PROGRAMMED && !route.resetType.empty())
      resetTerminalNow(route.source, route.resetType);
}

void Bench::setState(Ticket ticket, Route& route, RouteState::type state)
{
   const bool wasHeld = route.isHeld();
   route.state = state;
   if (route.isHeld() == wasHeld) return;
   ++changeNumber_;
   if (wasHeld)
      letGo(ticket, route);
   else
      hold(ticket, route);
}

bool Bench::isFree(Node node) const
{
   const Holders& holders = holders_[node];
   if (search_.isLine(node))
      return holders.alone.size() < topology_.lines[search_.lineOf(node)].routes;
   return holders.alone.empty() && holders.asSources.empty();
}

std::vector<Ticket> Bench::conflictsAt(const Route& route, Node node) const
{
   if (isFree(node)) return {};
   const Holders& holders = holders_[node];
   if (node == route.source || !holders.alone.empty()) return holders.alone;
   return holders.asSources;
}

// Throws what is in the way of the route, the first that it meets.
void Bench::requireFree(const Route& route) const
{
   if (!route.resetType.empty()) return;
   for (std::size_t i = 0; i < route.way.nodes.size(); ++i) {
      const Node node = route.way.nodes[i];
      const auto conflicts = conflictsAt(route, node);
      if (!conflicts.empty())
         throw inUse(node, route.way.devices[i == 0 ? 0 : i - 1], conflicts.front());
      if (i > 0) continue;
      for (const Ticket holder : holders_[node].asSources) {
         const Route& other = find(holder);
         if (areSame(other.sourceModifiers, route.sourceModifiers)) continue;
         Refusal refusal(kModifierInUse);
         refusal.member("conflicting_ticket", holder).member("conflicting_owner", other.owner);
         refusal.row("kUsageTypeSourceTerminal", uriOf(route.source));
         for (const auto& [name, value] : other.sourceModifiers)
            refusal.row("kUsageTypeReservedValue", name + " = " + shown(value));
         throw refusal.status();
      }
   }
}

ThriftStatus Bench::inUse(Node node, std::size_t device, Ticket holder) const
{
   const Route& other = find(holder);
   return Refusal(search_.isLine(node) ? kLineInUse : kTerminalInUse)
      .member("conflicting_ticket", holder)
      .member("conflicting_owner", other.owner)
      .row("kUsageTypeDevice", this->device(device).name)
      .row("kUsageTypeTerminalString", uriOf(node, device))
      .emptyLine()
      .header("kUsageTypeConflictingChannel")
      .row("kUsageTypeSourceTerminal", uriOf(other.source))
      .row("kUsageTypeDestinationTerminal", uriOf(other.destination))
      .status();
}

void Bench::hold(Ticket ticket, const Route& route)
{
   for (const Node node : route.way.nodes)
      (node == route.source ? holders_[node].asSources : holders_[node].alone).push_back(ticket);
}

void Bench::letGo(Ticket ticket, const Route& route)
{
   for (const Node node : route.way.nodes)
      std::erase(node == route.source ? holders_[node].asSources : holders_[node].alone, ticket);
}

void Bench::destroyRoute(Ticket ticket)
{
   const Route& route = find(ticket);
   if (route.lifetime == RouteLifetime::IMMEDIATE)
      throw Refusal(kRouteIsImmediate)
         .member("ticket", ticket)
         .row("kUsageTypeZerovaRouteTicket", ticket)
         .row("kUsageTypeSourceTerminal", uriOf(route.source))
         .row("kUsageTypeDestinationTerminal", uriOf(route.destination))
         .status();
   step(ticket, "destroy", RouteState::CALCULATED, RouteState::CALCULATED);
   routes_.erase(ticket);
}

template <typename Selection>
std::size_t Bench::destroyWhere(const Selection& selection)
{
   std::size_t count = 0;
   for (auto entry = routes_.begin(); entry != routes_.end();) {
      if (!selection(entry->second)) {
         ++entry;
         continue;
      }
      setState(entry->first, entry->second, RouteState::CALCULATED);
      entry = routes_.erase(entry);
      ++count;
   }
   return count;
}

template <typename Selection>
std::size_t Bench::destroyImmediateWhere(const Selection& selection)
{
   return destroyWhere([&](const Route& route) {
      return route.lifetime == RouteLifetime::IMMEDIATE && selection(route);
   });
}

void Bench::destroyImmediateRoute(const std::string& source, const std::string& destination)
{
   const Node from = nodeFrom(source);
   const Node to = nodeFrom(destination);
   const auto isMeant = [&](const Route& r) { return r.source == from && r.destination == to; };
   if (destroyImmediateWhere(isMeant) > 0) return;
   throw Refusal(kNoImmediateRoute)
      .row("kUsageTypeSourceTerminal", uriOf(from))
      .row("kUsageTypeDestinationTerminal", uriOf(to))
      .status();
}

void Bench::destroyImmediateRoutesOnDevice(const std::string& name)
{
   const std::size_t device = deviceNamed(name);
   destroyImmediateWhere([&](const Route& route) { return route.isInside(device); });
}

void Bench::destroyImmediateRoutesFromSource(const std::string& source)
{
   const Node from = nodeFrom(source);
   destroyImmediateWhere([&](const Route& route) { return route.source == from; });
}

void Bench::destroyImmediateRoutesToDest(const std::string& destination)
{
   const Node to = nodeFrom(destination);
   destroyImmediateWhere([&](const Route& route) { return route.destination == to; });
}

template <typename Selection>
void Bench::disconnect(const Selection& selection)
{
   destroyImmediateWhere(selection);
   for (auto& [ticket, route] : routes_)
      if (selection(route)) setState(ticket, route, RouteState::CALCULATED);
}

void Bench::resetTerminal(const std::string& uri, const std::string& type)
{
   const Node node = nodeFrom(uri);
   requireResetType(type);
   resetTerminalNow(node, type);
}

void Bench::resetTerminalNow(Node node, const std::string& type)
{
   const auto isAffected = [&](const Route& route) {
      return route.resetType.empty() && route.isOn(node);
   };
   if (type == "disconnect") return disconnect(isAffected);
   for (auto& [ticket, route] : routes_)
      if (isAffected(route) && route.state == RouteState::PROGRAMMED)
         setState(ticket, route, RouteState::RESERVED);
}

void Bench::initiateDeviceReset(ConnectionId connection, const std::string& name)
{
   const std::size_t index = deviceNamed(name);
   if (!resets_.emplace(index, connection).second)
      throw Refusal(kDeviceInReset).row("kUsageTypeDevice", device(index).name).status();
   disconnect([&](const Route& route) { return route.isInside(index); });
   ++changeNumber_;
}

void Bench::completeDeviceReset(const std::string& name)
{
   const std::size_t index = deviceNamed(name);
   if (resets_.erase(index) == 0)
      throw Refusal(kNoResetInitiated).row("kUsageTypeDevice", device(index).name).status();
   ++changeNumber_;
}

void Bench::endConnection(ConnectionId connection)
{
   destroyWhere([&](const Route& route) {
      return route.lifetime != RouteLifetime::IMMEDIATE && route.connection == connection;
   });
   if (std::erase_if(resets_, [&](const auto& reset) { return reset.second == connection; }) > 0)
      ++changeNumber_;
}

} // namespace zerova::simulator
