// What the model tells of its state: everything that changes nothing.
#include "service/standin/refusal.h"
#include "service/standin/routing_model.h"
#include "service/standin/terminal_uri.h"

#include <algorithm>

namespace zerova::standin {

Present RoutingModel::present() const
{
   Present present;
   present.isInReset = [this](const Device& device) { return resets_.contains(&device); };
   present.isLineTaken = [this](std::string_view line) {
      return std::any_of(routes_.begin(), routes_.end(), [&](RouteMap::const_reference entry) {
         const Route& route = entry.second;
         return route.isHeld() &&
                std::any_of(route.plan.way.begin(), route.plan.way.end(),
                            [&](const Place& place) { return place.terminal->name == line; });
      });
   };
   return present;
}

const RoutingModel::Route* RoutingModel::holderOf(const Place& place) const
{
   for (const auto& [ticket, route] : routes_)
      if (route.isHeld() && route.plan.passes(place)) return &route;
   return nullptr;
}

Attributes RoutingModel::attributesOf(const Place& place) const
{
   Attributes attributes = place.terminal->attributes;
   const Route* holder = holderOf(place);
   attributes["InUse"] = boolAttribute(holder != nullptr);
   if (holder && !holder->owner.empty()) attributes["Owner"] = textAttribute(holder->owner);
   return attributes;
}

std::vector<DeviceInfo> RoutingModel::routeInfo(Ticket ticket) const
{
   const Route& route = find(ticket);
   std::vector<DeviceInfo> devices;
   const Device* current = nullptr;
   for (const Place& place : route.plan.way) {
      if (place.device != current) {
         current = place.device;
         devices.emplace_back().__set_deviceName(current->name);
      }
      Attributes attributes = attributesOf(place);
      if (place == route.source)
         attributes.insert(route.plan.sourceModifiers.begin(), route.plan.sourceModifiers.end());
      if (place == route.destination)
         attributes.insert(route.plan.destinationModifiers.begin(),
                           route.plan.destinationModifiers.end());
      devices.back().terminals.push_back(std::move(attributes));
   }
   return devices;
}

std::vector<std::string> RoutingModel::routableDevices() const
{
   std::vector<std::string> names;
   for (const Device& device : inventory_.devices())
      if (!resets_.contains(&device)) names.push_back(device.name);
   return names;
}

std::vector<Attributes> RoutingModel::terminals(const std::string& name,
                                                const std::vector<std::string>& names) const
{
   const Device& device = inventory_.device(name);
   std::vector<Attributes> terminals;
   for (const Terminal& terminal : device.terminals) {
      Attributes attributes = attributesOf({&device, &terminal});
      if (!names.empty())
         std::erase_if(attributes, [&](Attributes::const_reference attribute) {
            return std::find(names.begin(), names.end(), attribute.first) == names.end();
         });
      terminals.push_back(std::move(attributes));
   }
   return terminals;
}

bool RoutingModel::isTerminal(const std::string& text) const
{
   const auto uri = parseTerminalUri(text);
   const Device* device = uri ? inventory_.findDevice(uri->device) : nullptr;
   return device && Inventory::findTerminal(*device, uri->terminal);
}

bool RoutingModel::areEqual(const std::string& uri1, const std::string& uri2) const
{
   return inventory_.normalForm(uri1) == inventory_.normalForm(uri2);
}

} // namespace zerova::standin
