// All that the stand-in service knows and decides: routes and their states, resets, change numbers.
// Does no input or output and takes no lock; what it refuses, it refuses by a ThriftStatus, and
// then nothing has changed.
#ifndef TESTS_SERVICE_STANDIN_ROUTING_MODEL_H
#define TESTS_SERVICE_STANDIN_ROUTING_MODEL_H

#include "apiv1_types.h"
#include "service/standin/inventory.h"
#include "service/standin/route_rules.h"

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace zerova::standin {

using ConnectionId = std::uint64_t;
using Ticket = std::int32_t;

class RoutingModel
{
public:
   RoutingModel() = default;
   RoutingModel(const RoutingModel&) = delete;
   RoutingModel& operator=(const RoutingModel&) = delete;

   // Routes. A route goes through its states one step at a time: calculated, reserved, programmed
   // and back, and it is destroyed only when calculated. While it is reserved or programmed its
   // line and its destination are its own; a source may feed several routes. A route in the state
   // that the caller set as its target comes back in that state or not at all.
   //
   // A session route lives as long as the connection that calculated it, an immediate one until one
   // of the destroyImmediate functions ends it, in whatever state it is; its ticket works in every
   // other way. lifetime is what a route gets whose attributes say nothing of it.
   Ticket calculateRoute(ConnectionId connection, RouteLifetime::type lifetime,
                         const std::string& source, const std::string& destination,
                         const RouteAttributes& attributes);
   void reserveRoute(Ticket ticket);
   void programRoute(Ticket ticket);
   void unprogramRoute(Ticket ticket);
   void unreserveRoute(Ticket ticket);
   void destroyRoute(Ticket ticket);

   // The devices on the way of a route, each with the terminals that it passes there.
   std::vector<DeviceInfo> routeInfo(Ticket ticket) const;
   std::size_t routeCount() const { return routes_.size(); }

   // The first refuses if there is no such route; the others find no route where there is none.
   void destroyImmediateRoute(const std::string& source, const std::string& destination);
   void destroyImmediateRoutesOnDevice(const std::string& device);
   void destroyImmediateRoutesFromSource(const std::string& source);
   void destroyImmediateRoutesToDest(const std::string& destination);

   // Terminals. Beside what the inventory says each has "InUse" (bool), and "Owner" (string) while
   // a route with an owner's name uses it. No names: all attributes; a name that a terminal has no
   // attribute for is left out.
   std::vector<std::string> routableDevices() const; // those that are not in reset
   std::vector<Attributes> terminals(const std::string& device,
                                     const std::vector<std::string>& names) const;
   bool isTerminal(const std::string& uri) const; // false also for a malformed one
   bool areEqual(const std::string& uri1, const std::string& uri2) const;

   // Moves with every change of what routableDevices() and terminals() answer.
   std::int32_t changeNumber() const { return changeNumber_; }

   // Resets. "disconnect" takes every route through the terminal back to calculated and ends the
   // immediate ones; "tristate" takes programmed ones back to reserved. A reset can also be had as
   // a ticket: it is carried out by programming it.
   void resetTerminal(const std::string& uri, const std::string& type);
   Ticket calculateResetTerminal(ConnectionId connection, const std::string& uri,
                                 const std::string& type);
   // Between the two steps the device takes no routes; the first disconnects what runs through it.
   void initiateDeviceReset(ConnectionId connection, const std::string& device);
   void completeDeviceReset(const std::string& device);

   // Ends the session routes of the connection and completes the resets that it left open.
   void endConnection(ConnectionId connection);

private:
   struct Route
   {
      ConnectionId connection;
      RouteLifetime::type lifetime;
      std::string owner;
      Place source;
      Place destination;
      RoutePlan plan;
      RouteState::type state = RouteState::CALCULATED;
      std::string resetType = {}; // empty: it is a route

      bool isHeld() const { return state != RouteState::CALCULATED && resetType.empty(); }
   };
   using RouteMap = std::map<Ticket, Route>;
   using Selection = std::function<bool(const Route&)>;

   Ticket add(Route route);
   Route& find(Ticket ticket);
   const Route& find(Ticket ticket) const;
   void step(Ticket ticket, const char* name, RouteState::type from, RouteState::type to);
   void bringTo(Ticket ticket, RouteState::type target);
   void setState(Route& route, RouteState::type state);
   void requireFree(const Route& route) const;
   void requireNoReset(const Route& route) const;
   std::size_t destroyWhere(const Selection& selection);
   std::size_t destroyImmediateWhere(const Selection& selection);
   void disconnect(const Selection& selection);
   void resetTerminalNow(const Place& place, const std::string& type);

   Present present() const;
   const Route* holderOf(const Place& place) const;
   Attributes attributesOf(const Place& place) const;

   Inventory inventory_;
   RouteMap routes_;
   std::map<const Device*, ConnectionId> resets_;
   Ticket nextTicket_ = 1001;
   std::int32_t changeNumber_ = 1;
};

} // namespace zerova::standin

#endif
