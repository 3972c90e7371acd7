// Which way a route takes, and whether what the caller asks of it can be had.
#ifndef TESTS_SERVICE_STANDIN_ROUTE_RULES_H
#define TESTS_SERVICE_STANDIN_ROUTE_RULES_H

#include "apiv1_types.h"
#include "service/standin/inventory.h"

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace zerova::standin {

// The way of a route: all terminals from the source to the destination, lines included, and what is
// done to the signal at either end. A terminal routed to itself takes no way at all.
struct RoutePlan
{
   std::vector<Place> way;
   Attributes sourceModifiers;
   Attributes destinationModifiers;

   bool passes(const Place& place) const;
   bool passes(const Device& device) const;
};

// What the planner has to know of the present.
struct Present
{
   std::function<bool(const Device&)> isInReset;
   std::function<bool(std::string_view line)> isLineTaken;
};

// Finds the way from source to destination, or refuses.
//
// The ends must be a source and a destination of one kind. Two terminals of one device are joined
// inside it; those of two devices through the first line of their kind that is free and that both
// devices have. force_multi_device_route leads a route out of its device even if both ends are on
// it, by way of the first other device that has the line.
//
// constraints: "Line" (string) names the line, "SingleDevice" (bool) forbids or demands to leave
// the device. source_constraints and destination_constraints name an attribute of that terminal and
// the value that it must have. required_modifiers and destination_required_modifiers, "Invert"
// (bool) and "Filter" (string), must be supported by the device at the source or the destination;
// an optional_modifier is left out where it is not. Unknown names are refused, among the optional
// modifiers they are left out.
RoutePlan planRoute(const Inventory& inventory, const Present& present,
                    const std::string& sourceUri, const std::string& destinationUri,
                    const RouteAttributes& attributes);

} // namespace zerova::standin

#endif
