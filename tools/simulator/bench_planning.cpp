// How a bench chooses the way of a route, and what it says when there is none.
#include "tools/simulator/bench.h"
#include "tools/simulator/refusal.h"

#include <algorithm>

namespace zerova::simulator {

namespace {

using Names = std::vector<std::string>;

const Attribute* findIn(const Attributes& attributes, const std::string& name)
{
   const auto found = attributes.find(name);
   return found == attributes.end() ? nullptr : &found->second;
}

ThriftStatus unknownName(const ErrorCode& code, const std::string& name, const Names& known)
{
   return Refusal(code)
      .row("kUsageTypeValue", name)
      .row("kUsageTypePossibleValues", known)
      .status();
}

// The name that a refusal gives for an attribute: its number if it has one that drivers know.
Refusal& addName(Refusal& refusal, const std::string& name)
{
   if (const std::int32_t number = attributeNumber(name))
      return refusal.row("kUsageTypeAttributeId", number);
   return refusal.row("kUsageTypeProperty", name);
}

ThriftStatus notMet(const std::string& source, const std::string& destination,
                    const std::string& name, const Attribute& wanted, const Names& possible)
{
   Refusal refusal(kConstraintNotMet);
   refusal.row("kUsageTypeSourceTerminal", source)
      .row("kUsageTypeDestinationTerminal", destination);
   return addName(refusal, name)
      .row("kUsageTypeValue", shown(wanted))
      .row("kUsageTypePossibleValues", possible)
      .status();
}

} // namespace

Attributes Bench::terminalAttributes(const Place& place) const
{
   const Terminal& terminal = device(place.device).terminals[place.terminal];
   Attributes attributes = terminal.attributes;
   attributes["Name"] = textAttribute(topology_.uri(place));
   attributes["Kind"] = textAttribute(terminal.kind);
   attributes["IsSource"] = boolAttribute(terminal.isSource);
   attributes["IsDestination"] = boolAttribute(terminal.isDestination);
   attributes["IsLine"] = boolAttribute(false);
   return attributes;
}

void Bench::requireTerminalValues(const Place& place, const Attributes& constraints) const
{
   if (constraints.empty()) return;
   const Attributes attributes = terminalAttributes(place);
   for (const auto& [name, wanted] : constraints) {
      const Attribute* found = findIn(attributes, name);
      if (!found) {
         Names known;
         for (const auto& attribute : attributes)
            known.push_back(attribute.first);
         throw unknownName(kUnknownConstraint, name, known);
      }
      if (isSameValue(*found, wanted)) continue;
      Refusal refusal(kConstraintNotMet);
      refusal.row("kUsageTypeDevice", device(place.device).name)
         .row("kUsageTypeTerminalString", topology_.uri(place));
      throw addName(refusal, name)
         .row("kUsageTypeValue", shown(wanted))
         .row("kUsageTypePossibleValues", Names{shown(*found)})
         .status();
   }
}

Attributes Bench::requiredModifiers(std::size_t index, const Attributes& wanted) const
{
   for (const auto& [name, value] : wanted) {
      const auto hasIt = [&name = name](const Device& one) {
         return one.findModifier(name) != nullptr;
      };
      if (std::ranges::none_of(topology_.devices, hasIt)) {
         Names known;
         for (const Device& one : topology_.devices)
            for (const Modifier& modifier : one.modifiers)
               if (std::ranges::find(known, modifier.name) == known.end())
                  known.push_back(modifier.name);
         throw unknownName(kUnknownModifier, name, known);
      }
      const Modifier* modifier = device(index).findModifier(name);
      if (modifier && modifier->allows(value)) continue;
      Names possible;
      if (modifier)
         for (const Attribute& one : modifier->values)
            possible.push_back(shown(one));
      else
         for (const Modifier& other : device(index).modifiers)
            possible.push_back(other.name);
      Refusal refusal(kModifierNotPossible);
      refusal.row("kUsageTypeDevice", device(index).name);
      throw addName(refusal, name)
         .row("kUsageTypeValue", shown(value))
         .row("kUsageTypePossibleValues", possible)
         .status();
   }
   return wanted;
}

const RouteRule* Bench::ruleFor(Node source, Node destination) const
{
   for (const RouteRule& rule : topology_.rules)
      if (search_.nodeOf(rule.from) == source && search_.nodeOf(rule.to) == destination)
         return &rule;
   return nullptr;
}

// Of the lines that join the source's device, those that a way to the destination could pass, be they
// taken or not.
Names Bench::possibleLines(Node source, Node destination)
{
   const Passable anything = {[](Node) { return true; }, [](std::size_t) { return true; }};
   const Place from = search_.placeOf(source);
   WayDemands demands;
   if (const RouteRule* rule = ruleFor(source, destination)) {
      demands.via = rule->via;
      demands.avoid = rule->avoid;
   }
   Names names;
   for (const std::size_t line : lines_[from.device]) {
      demands.line = line;
      Way way;
      const Search result =
         search_.find(from, search_.placeOf(destination), demands, anything, way);
      if (result == Search::kFound) names.push_back(topology_.lines[line].name);
      // The others would be searched for as long.
      if (result == Search::kGivenUp) break;
   }
   return names;
}

WayDemands Bench::demandsOf(Node source, Node destination, const RouteAttributes& attributes)
{
   const auto refuse = [&](const std::string& name, const Attribute& value) {
      throw notMet(uriOf(source), uriOf(destination), name, value,
                   name == "Line" ? possibleLines(source, destination) : Names{"true", "false"});
   };
   WayDemands demands;
   for (const auto& [name, value] : attributes.constraints) {
      if (name != "Line" && name != "SingleDevice")
         throw unknownName(kUnknownConstraint, name, {"Line", "SingleDevice"});
      if (value.attr_type != (name == "Line" ? AttrType::STRING : AttrType::BOOL))
         refuse(name, value);
   }
   if (const Attribute* line = findIn(attributes.constraints, "Line")) {
      demands.line = topology_.findLine(line->str_attr);
      if (!demands.line) refuse("Line", *line);
   }
   demands.passesLine = attributes.force_multi_device_route;
   if (const Attribute* single = findIn(attributes.constraints, "SingleDevice")) {
      demands.passesNoLine = single->bool_attr;
      demands.passesLine = demands.passesLine || !single->bool_attr;
   }
   if (const RouteRule* rule = ruleFor(source, destination)) {
      demands.via = rule->via;
      demands.avoid = rule->avoid;
      if (rule->isForbidden)
         throw Refusal(kRouteForbidden)
            .row("kUsageTypeSourceTerminal", uriOf(source))
            .row("kUsageTypeDestinationTerminal", uriOf(destination))
            .status();
   }
   return demands;
}

Way Bench::planWay(Node source, Node destination, const RouteAttributes& attributes)
{
   if (search_.isLine(source) || search_.isLine(destination))
      throw Refusal(kRouteNotPossible)
         .row("kUsageTypeSourceTerminal", uriOf(source))
         .row("kUsageTypeDestinationTerminal", uriOf(destination))
         .status();
   const Place from = search_.placeOf(source);
   const Place to = search_.placeOf(destination);
   for (const Place& end : {from, to})
      if (isInReset(end.device))
         throw Refusal(kDeviceInReset).row("kUsageTypeDevice", device(end.device).name).status();
   const WayDemands demands = demandsOf(source, destination, attributes);
   requireTerminalValues(from, attributes.source_constraints);
   requireTerminalValues(to, attributes.destination_constraints);
   const Passable passable = {[this](Node node) { return isFree(node); },
                              [this](std::size_t index) { return !isInReset(index); }};
   Way way;
   const Search result = search_.find(from, to, demands, passable, way);
   if (result == Search::kFound) return way;
   if (result == Search::kGivenUp)
      throw Refusal(kSearchGivenUp)
         .row("kUsageTypeSourceTerminal", uriOf(source))
         .row("kUsageTypeDestinationTerminal", uriOf(destination))
         .status();
   refuseWay(from, to, demands, attributes);
}

// Takes away what may be in the way, one thing after the other, until there is one.
void Bench::refuseWay(const Place& source, const Place& destination, const WayDemands& demands,
                      const RouteAttributes& attributes)
{
   const Passable anything = {[](Node) { return true; }, [](std::size_t) { return true; }};
   const Passable working = {anything.node,
                             [this](std::size_t index) { return !isInReset(index); }};
   Way way;
   if (search_.find(source, destination, demands, working, way) == Search::kFound)
      for (std::size_t i = 1; i + 1 < way.nodes.size(); ++i) {
         const Holders& holders = holders_[way.nodes[i]];
         if (!isFree(way.nodes[i]))
            throw inUse(way.nodes[i], way.devices[i - 1],
                        holders.alone.empty() ? holders.asSources.front() : holders.alone.front());
      }
   if (search_.find(source, destination, demands, anything, way) == Search::kFound)
      for (const std::size_t index : way.devices)
         if (isInReset(index))
            throw Refusal(kDeviceInReset).row("kUsageTypeDevice", device(index).name).status();
   WayDemands ofFile;
   ofFile.via = demands.via;
   ofFile.avoid = demands.avoid;
   if (search_.find(source, destination, ofFile, anything, way) == Search::kFound) {
      const std::string from = topology_.uri(source);
      const std::string to = topology_.uri(destination);
      if (const Attribute* line = findIn(attributes.constraints, "Line"))
         throw notMet(from, to, "Line", *line,
                      possibleLines(search_.nodeOf(source), search_.nodeOf(destination)));
      if (const Attribute* single = findIn(attributes.constraints, "SingleDevice"))
         throw notMet(from, to, "SingleDevice", *single, {single->bool_attr ? "false" : "true"});
   }
   throw Refusal(kRouteNotPossible)
      .row("kUsageTypeSourceTerminal", topology_.uri(source))
      .row("kUsageTypeDestinationTerminal", topology_.uri(destination))
      .status();
}

} // namespace zerova::simulator
