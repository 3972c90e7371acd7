// Finds the way of a route through a bench.
#ifndef TOOLS_SIMULATOR_ROUTE_SEARCH_H
#define TOOLS_SIMULATOR_ROUTE_SEARCH_H

#include "tools/simulator/topology.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

namespace zerova::simulator {

// A terminal or a line, as one number: what a route can be on, and one route at a time may have.
using Node = std::uint32_t;

// From the source to the destination: nodes[i] and nodes[i + 1] are connected inside devices[i].
// A terminal routed to itself has no way at all: both are empty.
struct Way
{
   std::vector<Node> nodes;
   std::vector<std::size_t> devices;
};

// What a route has to do beside joining its ends.
struct WayDemands
{
   std::vector<std::size_t> via;    // lines to pass, in this order
   std::vector<std::size_t> avoid;  // lines not to pass
   std::optional<std::size_t> line; // a line to pass, anywhere
   bool passesLine = false;         // some line
   bool passesNoLine = false;
};

// What there is to go on at the moment. Asked of nodes between the ends alone.
struct Passable
{
   std::function<bool(Node)> node;
   std::function<bool(std::size_t)> device;
};

enum class Search
{
   kFound,
   kNone,
   kGivenUp
};

// Rules.
//
// A device connects what its file says it connects. If that says nothing, it connects each source with
// each destination of the same kind, and the lines of that kind that join it with both and with one
// another. A route begins at a terminal that is a source, ends at one that is a destination, and is on
// no node twice.
//
// Of several ways the one with the fewest nodes is taken. Of those, the first in the order of the
// file: connections that are listed as they are listed, lines as they stand.
class RouteSearch
{
public:
   // The topology must outlive it.
   explicit RouteSearch(const Topology& topology);

   Node nodeOf(const Place& place) const;
   Node nodeOfLine(std::size_t line) const { return static_cast<Node>(firstLine_ + line); }
   std::size_t nodeCount() const { return firstLine_ + topology_.lines.size(); }
   bool isLine(Node node) const { return node >= firstLine_; }
   std::size_t lineOf(Node node) const { return node - firstLine_; }
   Place placeOf(Node node) const; // of a terminal

   // Writes the way if there is one. kGivenUp: demands on lines are so entangled that the search
   // ended before all ways were tried. One call at a time.
   Search find(const Place& source, const Place& destination, const WayDemands& demands,
               const Passable& passable, Way& way);

private:
   // Whatever enters it comes out at each of its lines and, by its name, at each of its exits.
   struct Crossbar
   {
      std::size_t device;
      std::vector<Node> lines;
   };
   struct Edge
   {
      Node to;
      std::size_t device;
   };
   static constexpr std::uint32_t kNoCrossbar = UINT32_MAX;
   struct Ports
   {
      std::vector<std::uint32_t> entered; // crossbars, in the order of the devices
      std::vector<Edge> edges;
      std::uint32_t leaves = kNoCrossbar; // the crossbar of which a terminal is an exit
   };
   // A node and how many of the demands are met on the way to it.
   struct State
   {
      Node node;
      std::uint32_t stage;
   };
   struct Step
   {
      State from;
      std::size_t device;
   };
   struct Task;

   void addDefaultConnections(std::size_t device);
   void addListedConnections(std::size_t device);

   static std::size_t indexOf(const State& state, const Task& task);
   static std::optional<std::uint32_t> stageAt(const Task& task, std::uint32_t stage,
                                               std::size_t line);
   std::optional<State> arrival(const Task& task, const State& from, Node to) const;
   template <typename Use>
   void forEachNext(const Task& task, const State& from, Use use);
   bool walk(const Task& task, Way& way);
   Way wayBack(const Task& task, State last, std::size_t lastDevice) const;
   Search findSimple(const Task& task, Way& way);

   const Topology& topology_;
   std::size_t firstLine_ = 0;
   std::vector<std::size_t> firstTerminal_; // of each device
   std::vector<Ports> ports_;
   std::vector<Crossbar> crossbars_;

   // Of one search; what carries another number than round_ is of an earlier one.
   std::uint64_t round_ = 0;
   std::vector<std::uint64_t> seen_;
   std::vector<std::uint64_t> entered_;
   std::vector<Step> steps_;
   std::vector<State> queue_;
};

} // namespace zerova::simulator

#endif
