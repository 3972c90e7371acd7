// The search for ways, compared with one that tries all of them.
#include "tools/simulator/bench.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <vector>

namespace {

using namespace zerova;
using namespace zerova::simulator;

class Dice
{
public:
   explicit Dice(unsigned seed)
      : engine_(seed)
   {
   }
   std::size_t below(std::size_t count) { return engine_() % count; }
   bool oneIn(std::size_t count) { return below(count) == 0; }

private:
   std::minstd_rand engine_;
};

std::string kindOf(Dice& dice)
{
   return dice.oneIn(3) ? "clock" : "trigger";
}

std::vector<std::size_t> someLines(Dice& dice, std::size_t count)
{
   std::vector<std::size_t> lines;
   for (std::size_t i = 0; i < count; ++i)
      if (dice.oneIn(3)) lines.push_back(i);
   if (dice.oneIn(2)) std::ranges::reverse(lines);
   return lines;
}

Topology randomBench(Dice& dice)
{
   Topology bench;
   const std::size_t devices = 1 + dice.below(4);
   for (std::size_t i = 0; i < devices; ++i) {
      Device device;
      device.name = "d" + std::to_string(i);
      const std::size_t terminals = dice.below(5);
      for (std::size_t j = 0; j < terminals; ++j)
         device.terminals.push_back(
            {"t" + std::to_string(j), kindOf(dice), !dice.oneIn(3), !dice.oneIn(3), {}});
      bench.devices.push_back(device);
   }
   const std::size_t lines = dice.below(5);
   for (std::size_t i = 0; i < lines; ++i) {
      Line line = {"l" + std::to_string(i), kindOf(dice), {}, dice.oneIn(4) ? 2u : 1u};
      for (std::size_t device = 0; device < devices; ++device)
         if (!dice.oneIn(3)) line.devices.push_back(device);
      if (line.devices.empty()) line.devices.push_back(0);
      bench.lines.push_back(line);
   }
   for (std::size_t i = 0; i < devices; ++i) {
      std::vector<std::string> ends;
      for (const Terminal& terminal : bench.devices[i].terminals)
         ends.push_back(terminal.name);
      for (const Line& line : bench.lines)
         if (std::ranges::find(line.devices, i) != line.devices.end()) ends.push_back(line.name);
      if (ends.size() < 2 || dice.oneIn(2)) continue;
      for (std::size_t n = 1 + dice.below(2 * ends.size()); n > 0; --n) {
         const std::string& from = ends[dice.below(ends.size())];
         const std::string& to = ends[dice.below(ends.size())];
         if (from != to) bench.devices[i].connections.push_back({from, to});
      }
   }
   return bench;
}

std::optional<Place> somePlace(Dice& dice, const Topology& bench)
{
   const std::size_t device = dice.below(bench.devices.size());
   if (bench.devices[device].terminals.empty()) return std::nullopt;
   return Place{device, dice.below(bench.devices[device].terminals.size())};
}

void addRules(Dice& dice, Topology& bench)
{
   for (std::size_t n = dice.below(4); n > 0; --n) {
      const auto from = somePlace(dice, bench);
      const auto to = somePlace(dice, bench);
      if (!from || !to) continue;
      RouteRule rule = {*from, *to, dice.oneIn(5), someLines(dice, bench.lines.size()), {}};
      if (dice.oneIn(2)) std::swap(rule.via, rule.avoid);
      const auto isSame = [&](const RouteRule& other) {
         return other.from == rule.from && other.to == rule.to;
      };
      if (std::ranges::none_of(bench.rules, isSame)) bench.rules.push_back(rule);
   }
}

// All that the rules say, in the plainest way: whether one thing leads to another inside a device, and
// every way tried.
class AllWays
{
public:
   explicit AllWays(const Bench& bench)
      : bench_(bench)
      , topology_(bench.topology())
   {
   }

   // The number of nodes on the shortest way, 0 if there is none.
   std::size_t shortest(const Place& from, const Place& to, const RouteAttributes& attributes)
   {
      for (const auto& [name, value] : attributes.constraints) {
         if (name == "Line") wantedLine_ = topology_.findLine(value.str_attr);
         if (name == "SingleDevice") isSingle_ = value.bool_attr;
      }
      leaves_ = attributes.force_multi_device_route;
      for (const RouteRule& candidate : topology_.rules)
         if (candidate.from == from && candidate.to == to) rule_ = &candidate;
      if (rule_ && rule_->isForbidden) return 0;
      if (!terminal(from).isSource || !terminal(to).isDestination) return 0;
      destination_ = bench_.search().nodeOf(to);
      way_ = {bench_.search().nodeOf(from)};
      best_ = 0;
      extend();
      return best_;
   }

   bool leads(std::size_t device, Node from, Node to) const
   {
      const Device& owner = topology_.devices[device];
      if (!isAt(device, from) || !isAt(device, to) || from == to) return false;
      if (!owner.connections.empty())
         return std::ranges::any_of(owner.connections, [&](const Connection& one) {
            return one.from == nameOf(from) && one.to == nameOf(to);
         });
      const bool isEntry = isLine(from) || terminal(from).isSource;
      const bool isExit = isLine(to) || terminal(to).isDestination;
      return isEntry && isExit && kindOf(from) == kindOf(to);
   }

private:
   bool isLine(Node node) const { return bench_.search().isLine(node); }
   const Line& line(Node node) const { return topology_.lines[bench_.search().lineOf(node)]; }
   const Terminal& terminal(const Place& place) const
   {
      return topology_.devices[place.device].terminals[place.terminal];
   }
   const Terminal& terminal(Node node) const { return terminal(bench_.search().placeOf(node)); }
   const std::string& nameOf(Node node) const
   {
      return isLine(node) ? line(node).name : terminal(node).name;
   }
   const std::string& kindOf(Node node) const
   {
      return isLine(node) ? line(node).kind : terminal(node).kind;
   }
   bool isAt(std::size_t device, Node node) const
   {
      if (!isLine(node)) return bench_.search().placeOf(node).device == device;
      return std::ranges::find(line(node).devices, device) != line(node).devices.end();
   }

   bool isFree(Node node) const
   {
      std::size_t users = 0;
      for (const auto& [ticket, route] : bench_.routes())
         if (route.isHeld() && route.isOn(node)) ++users;
      return users < (isLine(node) ? line(node).routes : 1);
   }

   bool meetsDemands() const
   {
      std::vector<std::size_t> lines;
      for (const Node node : way_)
         if (isLine(node)) lines.push_back(bench_.search().lineOf(node));
      const auto passes = [&](std::size_t one) {
         return std::ranges::find(lines, one) != lines.end();
      };
      if (isSingle_ && *isSingle_ != lines.empty()) return false;
      if (leaves_ && lines.empty()) return false;
      if (wantedLine_ && !passes(*wantedLine_)) return false;
      if (!rule_) return true;
      if (std::ranges::any_of(rule_->avoid, passes)) return false;
      std::vector<std::size_t> ofRule;
      for (const std::size_t one : lines)
         if (std::ranges::find(rule_->via, one) != rule_->via.end()) ofRule.push_back(one);
      return ofRule == rule_->via;
   }

   void extend()
   {
      for (Node to = 0; to < bench_.search().nodeCount(); ++to) {
         if (std::ranges::find(way_, to) != way_.end()) continue;
         bool canStep = false;
         for (std::size_t device = 0; device < topology_.devices.size() && !canStep; ++device)
            canStep = leads(device, way_.back(), to);
         if (!canStep || (to != destination_ && !isFree(to))) continue;
         way_.push_back(to);
         if (to != destination_)
            extend();
         else if (meetsDemands() && (best_ == 0 || way_.size() < best_))
            best_ = way_.size();
         way_.pop_back();
      }
   }

   const Bench& bench_;
   const Topology& topology_;
   std::optional<std::size_t> wantedLine_;
   std::optional<bool> isSingle_;
   bool leaves_ = false;
   const RouteRule* rule_ = nullptr;
   Node destination_ = 0;
   std::vector<Node> way_;
   std::size_t best_ = 0;
};

RouteAttributes someWishes(Dice& dice, const Topology& bench)
{
   RouteAttributes wishes;
   if (dice.oneIn(6)) wishes.__set_force_multi_device_route(true);
   if (dice.oneIn(6)) wishes.constraints["SingleDevice"] = boolAttribute(dice.oneIn(2));
   if (!bench.lines.empty() && dice.oneIn(6))
      wishes.constraints["Line"] = textAttribute(bench.lines[dice.below(bench.lines.size())].name);
   return wishes;
}

void expectNoNodeUsedTwice(const Bench& bench)
{
   for (Node node = 0; node < bench.search().nodeCount(); ++node) {
      std::size_t alone = 0;
      std::size_t asSource = 0;
      for (const auto& [ticket, route] : bench.routes())
         if (route.isHeld() && route.isOn(node)) ++(route.source == node ? asSource : alone);
      const std::size_t allowed = bench.search().isLine(node)
                                     ? bench.topology().lines[bench.search().lineOf(node)].routes
                                     : 1;
      EXPECT_LE(alone, allowed);
      EXPECT_TRUE(alone == 0 || asSource == 0);
   }
}

void expectRealWay(const Bench& bench, const Bench::Route& route)
{
   const AllWays ways(bench);
   const std::set<Node> nodes(route.way.nodes.begin(), route.way.nodes.end());
   EXPECT_EQ(nodes.size(), route.way.nodes.size());
   for (std::size_t i = 0; i < route.way.devices.size(); ++i)
      EXPECT_TRUE(ways.leads(route.way.devices[i], route.way.nodes[i], route.way.nodes[i + 1]));
}

struct Tally
{
   std::array<std::size_t, 12> ofLength{}; // ways found
   std::size_t refused = 0;
};

void tryRoute(Dice& dice, Bench& bench, Tally& tally)
{
   const auto from = somePlace(dice, bench.topology());
   const auto to = somePlace(dice, bench.topology());
   if (!from || !to || *from == *to) return;
   const RouteAttributes wishes = someWishes(dice, bench.topology());
   const std::size_t expected = AllWays(bench).shortest(*from, *to, wishes);
   Ticket ticket = 0;
   try {
      ticket = bench.calculateRoute(1, RouteLifetime::SESSION, bench.topology().uri(*from),
                                    bench.topology().uri(*to), wishes);
   } catch (const ThriftStatus&) {
      EXPECT_EQ(expected, 0u);
      ++tally.refused;
      return;
   }
   const Bench::Route& route = bench.routes().at(ticket);
   EXPECT_EQ(route.way.nodes.size(), expected);
   expectRealWay(bench, route);
   ++tally.ofLength.at(route.way.nodes.size());
   try {
      bench.reserveRoute(ticket);
   } catch (const ThriftStatus&) {
      bench.destroyRoute(ticket);
   }
   expectNoNodeUsedTwice(bench);
}

void letOneGo(Dice& dice, Bench& bench)
{
   if (bench.routes().empty() || !dice.oneIn(3)) return;
   auto route = bench.routes().begin();
   std::advance(route, dice.below(bench.routes().size()));
   const Ticket ticket = route->first;
   bench.unreserveRoute(ticket);
   bench.destroyRoute(ticket);
}

TEST(RandomBenches, EveryWayThatIsThereIsFoundTheShortestFirstAndNothingIsUsedTwice)
{
   Tally tally;
   for (unsigned seed = 1; seed <= 10000 && !testing::Test::HasFailure(); ++seed) {
      SCOPED_TRACE("bench " + std::to_string(seed));
      Dice dice(seed);
      Topology topology = randomBench(dice);
      addRules(dice, topology);
      Bench bench(std::move(topology));
      for (int i = 0; i < 10; ++i) {
         letOneGo(dice, bench);
         tryRoute(dice, bench, tally);
      }
   }
   // Enough of each came up for the comparison to mean something.
   EXPECT_GT(tally.refused, 10000u);
   for (std::size_t nodes = 2; nodes <= 6; ++nodes)
      EXPECT_GT(tally.ofLength.at(nodes), 10u) << nodes << " nodes";
}

} // namespace
