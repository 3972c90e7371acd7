// A bench at work: its routes, what they hold, and what clients are told of it.
#ifndef TOOLS_SIMULATOR_BENCH_H
#define TOOLS_SIMULATOR_BENCH_H

#include "apiv1_types.h"
#include "tools/simulator/route_search.h"
#include "tools/simulator/topology.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zerova::simulator {

using ConnectionId = std::uint64_t;
using Ticket = std::int32_t;

// Refuses by ThriftStatus, and then nothing has changed. Used by one thread.
//
// A route goes through its states one step at a time: calculated, reserved, programmed and back, and it
// is destroyed only when calculated. From reserved on it holds what it is on: each terminal between its
// ends and its destination are its own, a line is shared by as many routes as the line allows, and a
// source may feed several routes that do the same to its signal. A calculated route holds nothing, and
// keeps its way: reserving refuses it if something on the way was taken since.
//
// A session route lives as long as the connection that calculated it, an immediate one until a function
// for immediate routes ends it, in whatever state it is.
class Bench
{
public:
   explicit Bench(Topology topology);
   Bench(const Bench&) = delete;
   Bench& operator=(const Bench&) = delete;

   const Topology& topology() const { return topology_; }

   // lifetime: of a route whose attributes say nothing of it.
   Ticket calculateRoute(ConnectionId connection, RouteLifetime::type lifetime,
                         const std::string& source, const std::string& destination,
                         const RouteAttributes& attributes);
   void reserveRoute(Ticket ticket);
   void programRoute(Ticket ticket);
   void unprogramRoute(Ticket ticket);
   void unreserveRoute(Ticket ticket);
   void destroyRoute(Ticket ticket);
   // The devices on the way, each with what the route is on there.
   std::vector<DeviceInfo> routeInfo(Ticket ticket) const;

   // The first refuses if there is no such route; the others find no route where there is none.
   void destroyImmediateRoute(const std::string& source, const std::string& destination);
   void destroyImmediateRoutesOnDevice(const std::string& device);
   void destroyImmediateRoutesFromSource(const std::string& source);
   void destroyImmediateRoutesToDest(const std::string& destination);

   std::vector<std::string> routableDevices() const; // those that are not in reset
   // Terminals, then the lines that join the device. No names: all attributes.
   std::vector<Attributes> terminals(const std::string& device,
                                     const std::vector<std::string>& names) const;
   bool isTerminal(const std::string& uri) const; // false also for a malformed one
   bool areEqual(const std::string& uri1, const std::string& uri2) const;
   // Moves with every change of what routableDevices() and terminals() answer.
   std::int32_t changeNumber() const { return changeNumber_; }

   // "disconnect" takes every route through the terminal back to calculated and ends the immediate
   // ones; "tristate" takes programmed ones back to reserved. A reset that was calculated is carried
   // out when its ticket is programmed.
   void resetTerminal(const std::string& uri, const std::string& type);
   Ticket calculateResetTerminal(ConnectionId connection, const std::string& uri,
                                 const std::string& type);
   // Between the two the device takes no routes; the first disconnects what runs through it.
   void initiateDeviceReset(ConnectionId connection, const std::string& device);
   void completeDeviceReset(const std::string& device);

   // Ends the session routes of the connection and completes the resets that it left open.
   void endConnection(ConnectionId connection);

   // For pictures and tests.
   struct Route
   {
      ConnectionId connection = 0;
      RouteLifetime::type lifetime = RouteLifetime::SESSION;
      std::string owner;
      Node source = 0;
      Node destination = 0;
      Way way;
      Attributes sourceModifiers;
      Attributes destinationModifiers;
      RouteState::type state = RouteState::CALCULATED;
      std::string resetType; // empty: it is a route

      bool isHeld() const { return state != RouteState::CALCULATED && resetType.empty(); }
      bool isOn(Node node) const;
      bool isInside(std::size_t device) const;
   };
   const std::map<Ticket, Route>& routes() const { return routes_; }
   const RouteSearch& search() const { return search_; }

private:
   // The routes that are on a node and hold it.
   struct Holders
   {
      std::vector<Ticket> alone;     // of a line, as many as it allows
      std::vector<Ticket> asSources; // of a terminal
   };

   const Device& device(std::size_t index) const { return topology_.devices[index]; }
   std::size_t deviceNamed(const std::string& name) const;
   Node nodeFrom(const std::string& uri) const;
   std::string uriOf(Node node, std::size_t device) const;
   std::string uriOf(Node terminal) const;
   std::string normalForm(const std::string& uri) const;
   bool isInReset(std::size_t device) const { return resets_.contains(device); }

   Way planWay(Node source, Node destination, const RouteAttributes& attributes);
   WayDemands demandsOf(Node source, Node destination, const RouteAttributes& attributes);
   std::vector<std::string> possibleLines(Node source, Node destination);
   const RouteRule* ruleFor(Node source, Node destination) const;
   [[noreturn]] void refuseWay(const Place& source, const Place& destination,
                               const WayDemands& demands, const RouteAttributes& attributes);
   Attributes terminalAttributes(const Place& place) const;
   void requireTerminalValues(const Place& place, const Attributes& constraints) const;
   Attributes requiredModifiers(std::size_t device, const Attributes& wanted) const;

   bool isFree(Node node) const;
   std::vector<Ticket> conflictsAt(const Route& route, Node node) const;
   void requireFree(const Route& route) const;
   ThriftStatus inUse(Node node, std::size_t device, Ticket holder) const;
   void hold(Ticket ticket, const Route& route);
   void letGo(Ticket ticket, const Route& route);

   Ticket add(Route route);
   Route& find(Ticket ticket);
   const Route& find(Ticket ticket) const;
   void step(Ticket ticket, const char* name, RouteState::type from, RouteState::type to);
   void setState(Ticket ticket, Route& route, RouteState::type state);
   template <typename Selection>
   std::size_t destroyWhere(const Selection& selection);
   template <typename Selection>
   std::size_t destroyImmediateWhere(const Selection& selection);
   template <typename Selection>
   void disconnect(const Selection& selection);
   void resetTerminalNow(Node node, const std::string& type);
   Attributes attributesOf(Node node, std::size_t device) const;
   std::optional<std::size_t> otherDeviceOn(Node node, std::size_t device) const;

   const Topology topology_;
   RouteSearch search_;
   std::map<std::string, std::size_t> devices_;     // by folded name and alias
   std::vector<std::map<std::string, Node>> nodes_; // of each device, by name, lines included
   std::vector<std::vector<std::size_t>> lines_;    // of each device
   std::vector<Holders> holders_;                   // of each node
   std::map<Ticket, Route> routes_;
   std::map<std::size_t, ConnectionId> resets_; // by device
   Ticket nextTicket_ = 1001;
   std::int32_t changeNumber_ = 1;
};

} // namespace zerova::simulator

#endif
