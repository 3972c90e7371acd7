#include "tools/simulator/route_search.h"

#include <algorithm>
#include <limits>
#include <map>
#include <utility>

namespace zerova::simulator {

namespace {

constexpr std::uint32_t kFar = std::numeric_limits<std::uint32_t>::max();
// Far more than a bench of people needs, and a second of work at most.
constexpr std::size_t kMostSteps = 2000000;

bool contains(const std::vector<std::size_t>& lines, std::size_t line)
{
   return std::ranges::find(lines, line) != lines.end();
}

} // namespace

struct RouteSearch::Task
{
   Node source;
   Node destination;
   const WayDemands& demands;
   const Passable& passable;
   bool needsOne;        // line or passesLine
   std::uint32_t stages; // of which the last has met all demands
};

RouteSearch::RouteSearch(const Topology& topology)
   : topology_(topology)
{
   for (const Device& device : topology.devices) {
      firstTerminal_.push_back(firstLine_);
      firstLine_ += device.terminals.size();
   }
   ports_.resize(nodeCount());
   for (std::size_t device = 0; device < topology.devices.size(); ++device)
      if (topology.devices[device].connections.empty())
         addDefaultConnections(device);
      else
         addListedConnections(device);
}

Node RouteSearch::nodeOf(const Place& place) const
{
   return static_cast<Node>(firstTerminal_[place.device] + place.terminal);
}

Place RouteSearch::placeOf(Node node) const
{
   const auto behind = std::ranges::upper_bound(firstTerminal_, node);
   const auto device = static_cast<std::size_t>(behind - firstTerminal_.begin()) - 1;
   return {device, node - firstTerminal_[device]};
}

void RouteSearch::addDefaultConnections(std::size_t device)
{
   std::map<std::string, std::uint32_t> ofKind;
   const auto crossbar = [&](const std::string& kind) {
      const auto [entry, isNew] =
         ofKind.emplace(kind, static_cast<std::uint32_t>(crossbars_.size()));
      if (isNew) crossbars_.push_back({device, {}});
      return entry->second;
   };
   const std::vector<Terminal>& terminals = topology_.devices[device].terminals;
   for (std::size_t i = 0; i < terminals.size(); ++i) {
      Ports& ports = ports_[nodeOf({device, i})];
      if (terminals[i].isSource) ports.entered.push_back(crossbar(terminals[i].kind));
      if (terminals[i].isDestination) ports.leaves = crossbar(terminals[i].kind);
   }
   for (std::size_t i = 0; i < topology_.lines.size(); ++i) {
      const Line& line = topology_.lines[i];
      if (!contains(line.devices, device)) continue;
      const std::uint32_t joined = crossbar(line.kind);
      ports_[nodeOfLine(i)].entered.push_back(joined);
      crossbars_[joined].lines.push_back(nodeOfLine(i));
   }
}

void RouteSearch::addListedConnections(std::size_t device)
{
   const auto nodeNamed = [&](const std::string& name) {
      const auto terminal = topology_.devices[device].findTerminal(name);
      return terminal ? nodeOf({device, *terminal}) : nodeOfLine(*topology_.findLine(name));
   };
   for (const Connection& connection : topology_.devices[device].connections)
      ports_[nodeNamed(connection.from)].edges.push_back({nodeNamed(connection.to), device});
}

std::size_t RouteSearch::indexOf(const State& state, const Task& task)
{
   return std::size_t{state.node} * task.stages + state.stage;
}

// A stage counts the lines of via that are passed, and tells by its lowest bit, if one more line is
// needed, whether that is.
std::optional<std::uint32_t> RouteSearch::stageAt(const Task& task, std::uint32_t stage,
                                                  std::size_t line)
{
   const WayDemands& demands = task.demands;
   if (demands.passesNoLine || contains(demands.avoid, line)) return std::nullopt;
   std::uint32_t passed = task.needsOne ? stage / 2 : stage;
   bool hasOne = task.needsOne && stage % 2 == 1;
   if (passed < demands.via.size() && demands.via[passed] == line)
      ++passed;
   else if (contains(demands.via, line))
      return std::nullopt; // out of its turn, and it cannot be passed again
   if (!demands.line || *demands.line == line) hasOne = true;
   return task.needsOne ? passed * 2 + (hasOne ? 1 : 0) : passed;
}

std::optional<RouteSearch::State> RouteSearch::arrival(const Task& task, const State& from,
                                                       Node to) const
{
   if (to == task.destination) {
      if (from.stage + 1 != task.stages) return std::nullopt;
      return State{to, from.stage};
   }
   if (to == task.source || !task.passable.node(to)) return std::nullopt;
   if (!isLine(to)) return State{to, from.stage};
   const auto stage = stageAt(task, from.stage, lineOf(to));
   if (!stage) return std::nullopt;
   return State{to, *stage};
}

// Calls with each state that is one step away, and the device that the step is in.
template <typename Use>
void RouteSearch::forEachNext(const Task& task, const State& from, Use use)
{
   const auto step = [&](Node to, std::size_t device) {
      if (const auto next = arrival(task, from, to)) use(*next, device);
   };
   for (const Edge& edge : ports_[from.node].edges)
      if (task.passable.device(edge.device)) step(edge.to, edge.device);
   for (const std::uint32_t index : ports_[from.node].entered) {
      // What enters it for a second time finds nothing new.
      std::uint64_t& entered = entered_[std::size_t{index} * task.stages + from.stage];
      const Crossbar& crossbar = crossbars_[index];
      if (entered == round_ || !task.passable.device(crossbar.device)) continue;
      entered = round_;
      if (ports_[task.destination].leaves == index) step(task.destination, crossbar.device);
      for (const Node line : crossbar.lines)
         step(line, crossbar.device);
   }
}

Search RouteSearch::find(const Place& source, const Place& destination, const WayDemands& demands,
                         const Passable& passable, Way& way)
{
   way = {};
   if (source == destination) return Search::kFound;
   const bool needsOne = demands.passesLine || demands.line;
   const auto stages = static_cast<std::uint32_t>((demands.via.size() + 1) * (needsOne ? 2 : 1));
   const Task task = {nodeOf(source), nodeOf(destination), demands, passable, needsOne, stages};
   if (!topology_.devices[source.device].terminals[source.terminal].isSource ||
       !topology_.devices[destination.device].terminals[destination.terminal].isDestination)
      return Search::kNone;
   seen_.resize(std::max(seen_.size(), nodeCount() * stages));
   steps_.resize(std::max(steps_.size(), nodeCount() * stages));
   entered_.resize(std::max(entered_.size(), crossbars_.size() * stages));
   if (!walk(task, way)) return Search::kNone;
   std::vector<Node> nodes = way.nodes;
   std::ranges::sort(nodes);
   // Without demands no shortest walk is on a node twice.
   if (std::ranges::adjacent_find(nodes) == nodes.end()) return Search::kFound;
   return findSimple(task, way);
}

// Breadth first over states. A walk that meets the demands may be on a node twice.
bool RouteSearch::walk(const Task& task, Way& way)
{
   ++round_;
   queue_.clear();
   const State start = {task.source, 0};
   queue_.push_back(start);
   seen_[indexOf(start, task)] = round_;
   bool isFound = false;
   for (std::size_t next = 0; next < queue_.size() && !isFound; ++next) {
      const State from = queue_[next];
      forEachNext(task, from, [&](const State& to, std::size_t device) {
         if (isFound) return;
         const std::size_t index = indexOf(to, task);
         if (seen_[index] == round_) return;
         seen_[index] = round_;
         steps_[index] = {from, device};
         if (to.node == task.destination) {
            isFound = true;
            way = wayBack(task, from, device);
         } else
            queue_.push_back(to);
      });
   }
   return isFound;
}

Way RouteSearch::wayBack(const Task& task, State last, std::size_t lastDevice) const
{
   Way way;
   way.nodes = {task.destination, last.node};
   way.devices = {lastDevice};
   while (last.node != task.source) {
      const Step& step = steps_[indexOf(last, task)];
      way.devices.push_back(step.device);
      way.nodes.push_back(step.from.node);
      last = step.from;
   }
   std::ranges::reverse(way.nodes);
   std::ranges::reverse(way.devices);
   return way;
}

// Depth first, with a limit that grows, led by the length of the walk that is left from each state.
Search RouteSearch::findSimple(const Task& task, Way& way)
{
   const std::size_t states = nodeCount() * task.stages;
   // Every step is looked at more than once here, so that crossbars are not entered once alone.
   const auto next = [&](const State& from, auto use) {
      ++round_;
      forEachNext(task, from, use);
   };
   std::vector<std::uint32_t> left(states, kFar);
   left[indexOf({task.destination, task.stages - 1}, task)] = 0;
   for (bool hasChanged = true; hasChanged;) {
      hasChanged = false;
      for (std::size_t index = 0; index < states; ++index) {
         const State from = {static_cast<Node>(index / task.stages),
                             static_cast<std::uint32_t>(index % task.stages)};
         if (from.node == task.destination) continue;
         next(from, [&](const State& to, std::size_t) {
            const std::uint32_t behind = left[indexOf(to, task)];
            if (behind == kFar || behind + 1 >= left[index]) return;
            left[index] = behind + 1;
            hasChanged = true;
         });
      }
   }

   std::vector<bool> isOnWay(nodeCount());
   std::size_t steps = 0;
   bool isCut = false;
   const auto descend = [&](const auto& self, const State& from, std::uint32_t limit) -> bool {
      if (from.node == task.destination) return true;
      std::vector<std::pair<State, std::size_t>> choices;
      next(from, [&](const State& to, std::size_t device) { choices.emplace_back(to, device); });
      for (const auto& [to, device] : choices) {
         if (++steps > kMostSteps) return false;
         const std::uint32_t behind = left[indexOf(to, task)];
         if (behind == kFar || isOnWay[to.node]) continue;
         if (way.devices.size() + 1 + behind > limit) {
            isCut = true;
            continue;
         }
         isOnWay[to.node] = true;
         way.nodes.push_back(to.node);
         way.devices.push_back(device);
         if (self(self, to, limit)) return true;
         isOnWay[to.node] = false;
         way.nodes.pop_back();
         way.devices.pop_back();
      }
      return false;
   };
   const State start = {task.source, 0};
   std::uint32_t limit = left[indexOf(start, task)];
   do {
      isCut = false;
      way = {{task.source}, {}};
      isOnWay[task.source] = true;
      if (descend(descend, start, limit++)) return Search::kFound;
   } while (isCut && steps <= kMostSteps);
   way = {};
   return steps > kMostSteps ? Search::kGivenUp : Search::kNone;
}

} // namespace zerova::simulator
