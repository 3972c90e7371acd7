#include "service/standin/route_rules.h"

#include "service/standin/refusal.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace zerova::standin {

namespace {

std::string shown(const Attribute& attribute)
{
   switch (attribute.attr_type) {
   case AttrType::STRING:
      return attribute.str_attr;
   case AttrType::BOOL:
      return attribute.bool_attr ? "true" : "false";
   default:
      return "value of type " + std::to_string(static_cast<int>(attribute.attr_type));
   }
}

// The type tag alone says which value counts.
bool isSameValue(const Attribute& left, const Attribute& right)
{
   if (left.attr_type != right.attr_type) return false;
   if (left.attr_type == AttrType::STRING) return left.str_attr == right.str_attr;
   return left.attr_type == AttrType::BOOL && left.bool_attr == right.bool_attr;
}

Refusal notMet(const Place& place, const std::string& name, const Attribute& wanted)
{
   return Refusal(kConstraintNotMet)
      .usage("kUsageTypeDevice", place.device->name)
      .usage("kUsageTypeTerminalString", place.terminal->uri)
      .usage("kUsageTypeAttributeId", attributeNumber(name))
      .usage("kUsageTypeValue", shown(wanted));
}

ThriftStatus notMet(const Place& place, const std::string& name, const Attribute& wanted,
                    const std::vector<std::string>& possible)
{
   return notMet(place, name, wanted).usageList("kUsageTypePossibleValues", possible).status();
}

ThriftStatus unknownName(ErrorCode code, const std::string& name,
                         const std::vector<std::string>& known)
{
   return Refusal(code)
      .usage("kUsageTypeValue", name)
      .usageList("kUsageTypePossibleValues", known)
      .status();
}

void requireTerminalValues(const Place& place, const Attributes& constraints)
{
   for (const auto& [name, wanted] : constraints) {
      const auto found = place.terminal->attributes.find(name);
      if (found == place.terminal->attributes.end()) {
         std::vector<std::string> known;
         for (const auto& attribute : place.terminal->attributes)
            known.push_back(attribute.first);
         throw unknownName(kUnknownConstraint, name, known);
      }
      if (!isSameValue(found->second, wanted))
         throw notMet(place, name, wanted, {shown(found->second)});
   }
}

bool isWellTypedModifier(const std::string& name, const Attribute& value)
{
   return (name == "Invert" && value.attr_type == AttrType::BOOL) ||
          (name == "Filter" && value.attr_type == AttrType::STRING);
}

Attributes requiredModifiers(const Device& device, const Attributes& wanted)
{
   for (const auto& [name, value] : wanted) {
      if (attributeNumber(name) < 0x2000 || attributeNumber(name) >= 0x3000)
         throw unknownName(kUnknownModifier, name, {"Filter", "Invert"});
      if (!device.supports(name) || !isWellTypedModifier(name, value))
         throw Refusal(kModifierNotPossible)
            .usage("kUsageTypeDevice", device.name)
            .usage("kUsageTypeAttributeId", attributeNumber(name))
            .usage("kUsageTypeValue", shown(value))
            .usageList("kUsageTypePossibleValues", device.modifiers)
            .status();
   }
   return wanted;
}

Attributes possibleModifiers(const Device& device, const Attributes& wanted)
{
   Attributes possible;
   for (const auto& [name, value] : wanted)
      if (device.supports(name) && isWellTypedModifier(name, value)) possible.emplace(name, value);
   return possible;
}

class Planner
{
public:
   Planner(const Inventory& inventory, const Present& present, Place source, Place destination,
           const RouteAttributes& attributes)
      : inventory_(inventory)
      , present_(present)
      , source_(source)
      , destination_(destination)
      , attributes_(attributes)
   {
   }

   RoutePlan plan() const
   {
      for (const Place& end : {source_, destination_})
         if (present_.isInReset(*end.device))
            throw Refusal(kDeviceInReset).usage("kUsageTypeDevice", end.device->name).status();
      requireKnownConstraints();
      requireTerminalValues(source_, attributes_.source_constraints);
      requireTerminalValues(destination_, attributes_.destination_constraints);
      RoutePlan plan;
      plan.sourceModifiers = requiredModifiers(*source_.device, attributes_.required_modifiers);
      plan.sourceModifiers.merge(
         possibleModifiers(*source_.device, attributes_.optional_modifiers));
      plan.destinationModifiers =
         requiredModifiers(*destination_.device, attributes_.destination_required_modifiers);
      if (source_ == destination_) return plan;
      requireMatchingEnds();
      plan.way = way();
      return plan;
   }

private:
   const Attribute* constraint(const std::string& name) const
   {
      const auto found = attributes_.constraints.find(name);
      return found == attributes_.constraints.end() ? nullptr : &found->second;
   }

   void requireKnownConstraints() const
   {
      for (const auto& [name, value] : attributes_.constraints) {
         if (name != "Line" && name != "SingleDevice")
            throw unknownName(kUnknownConstraint, name, {"Line", "SingleDevice"});
         if (name == "Line" && value.attr_type != AttrType::STRING) throw lineNotMet(value);
         if (name == "SingleDevice" && value.attr_type != AttrType::BOOL)
            throw notMet(source_, name, value, {"true", "false"});
      }
   }

   bool isOneDevice() const { return source_.device == destination_.device; }
   bool leaves() const { return !isOneDevice() || attributes_.force_multi_device_route; }

   void requireMatchingEnds() const
   {
      if (source_.terminal->is("IsSource") && destination_.terminal->is("IsDestination") &&
          source_.terminal->kind() == destination_.terminal->kind())
         return;
      throw notPossible();
   }

   ThriftStatus notPossible() const
   {
      return Refusal(kRouteNotPossible)
         .usage("kUsageTypeSourceTerminal", source_.terminal->uri)
         .usage("kUsageTypeDestinationTerminal", destination_.terminal->uri)
         .status();
   }

   ThriftStatus lineNotMet(const Attribute& wanted) const
   {
      if (leaves()) return notMet(source_, "Line", wanted, possibleLines());
      return notMet(source_, "Line", wanted)
         .elaboration("The route stays in one device and takes no line.")
         .status();
   }

   std::vector<Place> way() const
   {
      if (const Attribute* single = constraint("SingleDevice");
          single && single->bool_attr == leaves())
         throw notMet(source_, "SingleDevice", *single, {leaves() ? "false" : "true"});
      if (leaves()) return wayOverLine(isOneDevice());
      if (const Attribute* line = constraint("Line")) throw lineNotMet(*line);
      return {source_, destination_};
   }

   std::vector<Place> wayOverLine(bool needsBridge) const
   {
      std::vector<std::string> taken;
      for (const Terminal& line : source_.device->terminals) {
         if (!isUsable(line)) continue;
         const auto bridge = needsBridge ? bridgeWith(line.name) : std::nullopt;
         const Terminal* arrival = Inventory::findTerminal(*destination_.device, line.name);
         if (!arrival || (needsBridge && !bridge)) continue;
         if (present_.isLineTaken(line.name)) {
            taken.push_back(line.name);
            continue;
         }
         std::vector<Place> way = {source_, {source_.device, &line}};
         if (bridge) way.push_back(*bridge);
         // Out of a device and back to it is over one wire: the line is passed once.
         if (!bridge) way.push_back({destination_.device, arrival});
         way.push_back(destination_);
         return way;
      }
      if (const Attribute* line = constraint("Line"); line && taken.empty())
         throw lineNotMet(*line);
      if (taken.empty()) throw notPossible();
      throw Refusal(kLineInUse)
         .usage("kUsageTypeSourceTerminal", source_.terminal->uri)
         .usage("kUsageTypeDestinationTerminal", destination_.terminal->uri)
         .usageList("kUsageTypeValue", taken)
         .status();
   }

   bool isLineOfSource(const Terminal& terminal) const
   {
      return terminal.is("IsLine") && terminal.kind() == source_.terminal->kind();
   }

   bool isUsable(const Terminal& terminal) const
   {
      const Attribute* wanted = constraint("Line");
      return isLineOfSource(terminal) && (!wanted || wanted->str_attr == terminal.name);
   }

   // Those on which the route could leave its device, be they taken or not.
   std::vector<std::string> possibleLines() const
   {
      std::vector<std::string> names;
      for (const Terminal& line : source_.device->terminals)
         if (isLineOfSource(line) && Inventory::findTerminal(*destination_.device, line.name) &&
             (!isOneDevice() || bridgeWith(line.name)))
            names.push_back(line.name);
      return names;
   }

   std::optional<Place> bridgeWith(const std::string& line) const
   {
      for (const Device& device : inventory_.devices()) {
         if (&device == source_.device || present_.isInReset(device)) continue;
         if (const Terminal* terminal = Inventory::findTerminal(device, line))
            return Place{&device, terminal};
      }
      return std::nullopt;
   }

   const Inventory& inventory_;
   const Present& present_;
   const Place source_;
   const Place destination_;
   const RouteAttributes& attributes_;
};

} // namespace

bool RoutePlan::passes(const Place& place) const
{
   return std::find(way.begin(), way.end(), place) != way.end();
}

bool RoutePlan::passes(const Device& device) const
{
   return std::any_of(way.begin(), way.end(),
                      [&](const Place& place) { return place.device == &device; });
}

RoutePlan planRoute(const Inventory& inventory, const Present& present,
                    const std::string& sourceUri, const std::string& destinationUri,
                    const RouteAttributes& attributes)
{
   const Place source = inventory.terminal(sourceUri);
   const Place destination = inventory.terminal(destinationUri);
   return Planner(inventory, present, source, destination, attributes).plan();
}

} // namespace zerova::standin
