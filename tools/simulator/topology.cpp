#include "tools/simulator/topology.h"

#include "tools/simulator/terminal_uri.h"

#include <algorithm>

namespace zerova::simulator {

namespace {

template <typename Range>
std::optional<std::size_t> indexByName(const Range& range, std::string_view name)
{
   const auto found =
      std::ranges::find_if(range, [&](const auto& element) { return element.name == name; });
   if (found == range.end()) return std::nullopt;
   return static_cast<std::size_t>(found - range.begin());
}

} // namespace

bool Modifier::allows(const Attribute& value) const
{
   if (values.empty())
      return value.attr_type == AttrType::STRING || value.attr_type == AttrType::BOOL;
   return std::ranges::any_of(values,
                              [&](const Attribute& one) { return isSameValue(one, value); });
}

const Modifier* Device::findModifier(std::string_view modifier) const
{
   const auto index = indexByName(modifiers, modifier);
   return index ? &modifiers[*index] : nullptr;
}

std::optional<std::size_t> Device::findTerminal(std::string_view terminal) const
{
   return indexByName(terminals, terminal);
}

const char* nameOf(Fault::Action action)
{
   switch (action) {
   case Fault::Action::kDelay:
      return "delay";
   case Fault::Action::kError:
      return "error";
   case Fault::Action::kDrop:
      return "drop";
   case Fault::Action::kHang:
      return "hang";
   case Fault::Action::kCut:
      return "cut";
   case Fault::Action::kGarbage:
      break;
   }
   return "garbage";
}

std::optional<std::size_t> Topology::findDevice(std::string_view name) const
{
   const std::string folded = foldedDeviceName(name);
   const auto isMeant = [&](const std::string& other) { return foldedDeviceName(other) == folded; };
   for (std::size_t i = 0; i < devices.size(); ++i)
      if (isMeant(devices[i].name) || std::ranges::any_of(devices[i].aliases, isMeant)) return i;
   return std::nullopt;
}

std::optional<std::size_t> Topology::findLine(std::string_view name) const
{
   return indexByName(lines, name);
}

std::string Topology::uri(const Place& place) const
{
   const Device& device = devices[place.device];
   return "/" + device.name + "/" + device.terminals[place.terminal].name;
}

} // namespace zerova::simulator
