// What a bench tells of itself: everything that changes nothing.
#include "tools/simulator/bench.h"
#include "tools/simulator/refusal.h"

#include "tools/simulator/terminal_uri.h"

#include <algorithm>
#include <utility>

namespace zerova::simulator {

std::size_t Bench::deviceNamed(const std::string& name) const
{
   const auto found = devices_.find(foldedDeviceName(name));
   if (found != devices_.end()) return found->second;
   std::vector<std::string> names;
   for (const Device& device : topology_.devices)
      names.push_back(device.name);
   throw Refusal(kUnknownDevice)
      .row("kUsageTypeDevice", name)
      .row("kUsageTypePossibleValues", names)
      .status();
}

Node Bench::nodeFrom(const std::string& text) const
{
   const auto uri = parseTerminalUri(text);
   if (!uri) throw Refusal(kMalformedUri).row("kUsageTypeTerminalString", text).status();
   const std::size_t owner = deviceNamed(uri->device);
   const auto node = nodes_[owner].find(uri->terminal);
   if (node != nodes_[owner].end()) return node->second;
   throw Refusal(kUnknownTerminal)
      .row("kUsageTypeDevice", device(owner).name)
      .row("kUsageTypeTerminalString", text)
      .status();
}

std::string Bench::uriOf(Node node, std::size_t device) const
{
   if (!search_.isLine(node)) return topology_.uri(search_.placeOf(node));
   return "/" + topology_.devices[device].name + "/" + topology_.lines[search_.lineOf(node)].name;
}

// A line is told as the terminal of the first device that it joins.
std::string Bench::uriOf(Node terminal) const
{
   if (!search_.isLine(terminal)) return topology_.uri(search_.placeOf(terminal));
   return uriOf(terminal, topology_.lines[search_.lineOf(terminal)].devices.front());
}

std::string Bench::normalForm(const std::string& text) const
{
   auto uri = parseTerminalUri(text);
   if (!uri) throw Refusal(kMalformedUri).row("kUsageTypeTerminalString", text).status();
   const auto found = devices_.find(foldedDeviceName(uri->device));
   uri->device =
      found == devices_.end() ? foldedDeviceName(uri->device) : device(found->second).name;
   return uri->text();
}

Attributes Bench::attributesOf(Node node, std::size_t device) const
{
   Attributes attributes;
   if (search_.isLine(node)) {
      attributes = topology_.lines[search_.lineOf(node)].attributes;
      attributes["Name"] = textAttribute(uriOf(node, device));
      attributes["Kind"] = textAttribute(topology_.lines[search_.lineOf(node)].kind);
      attributes["IsSource"] = boolAttribute(false);
      attributes["IsDestination"] = boolAttribute(false);
      attributes["IsLine"] = boolAttribute(true);
   } else
      attributes = terminalAttributes(search_.placeOf(node));
   const Holders& holders = holders_[node];
   const auto& tickets = holders.alone.empty() ? holders.asSources : holders.alone;
   attributes["InUse"] = boolAttribute(!tickets.empty());
   if (tickets.empty()) return attributes;
   const std::string& owner = find(tickets.front()).owner;
   if (!owner.empty()) attributes["Owner"] = textAttribute(owner);
   return attributes;
}

// A line that leads out of a device and back into it leads through the next device that it joins.
std::optional<std::size_t> Bench::otherDeviceOn(Node node, std::size_t device) const
{
   if (!search_.isLine(node)) return std::nullopt;
   for (const std::size_t other : topology_.lines[search_.lineOf(node)].devices)
      if (other != device) return other;
   return std::nullopt;
}

std::vector<DeviceInfo> Bench::routeInfo(Ticket ticket) const
{
   const Route& route = find(ticket);
   std::vector<DeviceInfo> devices;
   const auto add = [&](Node node, std::size_t device) {
      Attributes attributes = attributesOf(node, device);
      if (node == route.source)
         attributes.insert(route.sourceModifiers.begin(), route.sourceModifiers.end());
      if (node == route.destination)
         attributes.insert(route.destinationModifiers.begin(), route.destinationModifiers.end());
      devices.back().terminals.push_back(std::move(attributes));
   };
   if (!route.resetType.empty()) {
      const std::size_t device = search_.isLine(route.source)
                                    ? topology_.lines[search_.lineOf(route.source)].devices.front()
                                    : search_.placeOf(route.source).device;
      devices.emplace_back().__set_deviceName(this->device(device).name);
      add(route.source, device);
      return devices;
   }
   const auto enter = [&](std::size_t device) {
      devices.emplace_back().__set_deviceName(this->device(device).name);
   };
   for (std::size_t i = 0; i < route.way.devices.size(); ++i) {
      const std::size_t device = route.way.devices[i];
      const Node node = route.way.nodes[i];
      if (i == 0 || device != route.way.devices[i - 1]) {
         enter(device);
         add(node, device);
      } else if (const auto other = otherDeviceOn(node, device)) {
         enter(*other);
         add(node, *other);
         enter(device);
      }
      add(route.way.nodes[i + 1], device);
   }
   return devices;
}

std::vector<std::string> Bench::routableDevices() const
{
   std::vector<std::string> names;
   for (std::size_t i = 0; i < topology_.devices.size(); ++i)
      if (!isInReset(i)) names.push_back(device(i).name);
   return names;
}

std::vector<Attributes> Bench::terminals(const std::string& name,
                                         const std::vector<std::string>& names) const
{
   const std::size_t index = deviceNamed(name);
   std::vector<Attributes> terminals;
   const auto add = [&](Node node) {
      Attributes attributes = attributesOf(node, index);
      if (!names.empty())
         std::erase_if(attributes, [&](Attributes::const_reference attribute) {
            return std::ranges::find(names, attribute.first) == names.end();
         });
      terminals.push_back(std::move(attributes));
   };
   for (std::size_t i = 0; i < device(index).terminals.size(); ++i)
      add(search_.nodeOf({index, i}));
   for (const std::size_t line : lines_[index])
      add(search_.nodeOfLine(line));
   return terminals;
}

bool Bench::isTerminal(const std::string& text) const
{
   const auto uri = parseTerminalUri(text);
   if (!uri) return false;
   const auto found = devices_.find(foldedDeviceName(uri->device));
   return found != devices_.end() && nodes_[found->second].contains(uri->terminal);
}

bool Bench::areEqual(const std::string& uri1, const std::string& uri2) const
{
   return normalForm(uri1) == normalForm(uri2);
}

} // namespace zerova::simulator
