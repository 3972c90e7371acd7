#include "service/standin/inventory.h"

#include "service/standin/refusal.h"
#include "service/standin/terminal_uri.h"

#include <algorithm>
#include <utility>

namespace zerova::standin {

namespace {

Terminal makeTerminal(const std::string& device, const std::string& name, const std::string& kind,
                      const std::string& connector, bool isSource, bool isDestination)
{
   Terminal terminal;
   terminal.name = name;
   terminal.uri = "/" + device + "/" + name;
   terminal.attributes = {
      {"Name", textAttribute(terminal.uri)},           {"Kind", textAttribute(kind)},
      {"Connector", textAttribute(connector)},         {"IsSource", boolAttribute(isSource)},
      {"IsDestination", boolAttribute(isDestination)}, {"IsLine", boolAttribute(false)}};
   return terminal;
}

class DeviceBuilder
{
public:
   DeviceBuilder(const std::string& name, const std::string& alias,
                 std::vector<std::string> modifiers = {})
   {
      device_.name = name;
      device_.alias = alias;
      device_.modifiers = std::move(modifiers);
   }

   DeviceBuilder& source(const std::string& name, const std::string& kind,
                         const std::string& connector)
   {
      return add(makeTerminal(device_.name, name, kind, connector, true, false));
   }

   DeviceBuilder& destination(const std::string& name, const std::string& kind,
                              const std::string& connector)
   {
      return add(makeTerminal(device_.name, name, kind, connector, false, true));
   }

   DeviceBuilder& both(const std::string& name, const std::string& kind,
                       const std::string& connector)
   {
      return add(makeTerminal(device_.name, name, kind, connector, true, true));
   }

   DeviceBuilder& lines(const std::string& kind, int count)
   {
      for (int i = 0; i < count; ++i) {
         Terminal line = makeTerminal(device_.name, kind + "_line" + std::to_string(i), kind,
                                      "backplane", false, false);
         line.attributes["IsLine"] = boolAttribute(true);
         add(std::move(line));
      }
      return *this;
   }

   Device take() { return std::move(device_); }

private:
   DeviceBuilder& add(Terminal terminal)
   {
      device_.terminals.push_back(std::move(terminal));
      return *this;
   }

   Device device_;
};

} // namespace

Attribute textAttribute(const std::string& value)
{
   Attribute attribute;
   attribute.__set_attr_type(AttrType::STRING);
   attribute.__set_str_attr(value);
   return attribute;
}

Attribute boolAttribute(bool value)
{
   Attribute attribute;
   attribute.__set_attr_type(AttrType::BOOL);
   attribute.__set_bool_attr(value);
   return attribute;
}

bool Device::supports(std::string_view modifier) const
{
   return std::find(modifiers.begin(), modifiers.end(), modifier) != modifiers.end();
}

Inventory::Inventory()
{
   devices_.push_back(DeviceBuilder("matrix1", "switchbank")
                         .both("ch0", "analog", "front")
                         .both("ch1", "analog", "front")
                         .both("ch2", "analog", "front")
                         .both("ch3", "analog", "rear")
                         .destination("scan_advance", "trigger", "rear")
                         .source("scan_done", "trigger", "rear")
                         .lines("analog", 2)
                         .lines("trigger", 2)
                         .take());
   devices_.push_back(DeviceBuilder("scanner2", "multiplexer", {"Filter"})
                         .both("com", "analog", "front")
                         .source("in0", "analog", "front")
                         .source("in1", "analog", "front")
                         .destination("advance", "trigger", "front")
                         .source("settled", "trigger", "front")
                         .lines("analog", 2)
                         .lines("trigger", 2)
                         .take());
   devices_.push_back(DeviceBuilder("timer1", "clock", {"Invert"})
                         .source("pulse", "trigger", "front")
                         .source("osc", "clock", "internal")
                         .destination("gate", "trigger", "front")
                         .destination("sync", "clock", "rear")
                         .lines("trigger", 2)
                         .lines("clock", 1)
                         .take());
   devices_.push_back(DeviceBuilder("digitizer3", "scope", {"Invert", "Filter"})
                         .destination("input0", "analog", "front")
                         .destination("input1", "analog", "front")
                         .destination("start", "trigger", "internal")
                         .source("ready", "trigger", "internal")
                         .destination("refclk", "clock", "rear")
                         .lines("analog", 2)
                         .lines("trigger", 2)
                         .lines("clock", 1)
                         .take());
   devices_.push_back(DeviceBuilder("lamp4", "indicator").take());
}

const Device* Inventory::findDevice(std::string_view name) const
{
   const std::string folded = foldedDeviceName(name);
   const auto found = std::find_if(devices_.begin(), devices_.end(), [&](const Device& device) {
      return device.name == folded || device.alias == folded;
   });
   return found == devices_.end() ? nullptr : &*found;
}

const Terminal* Inventory::findTerminal(const Device& device, std::string_view name)
{
   const auto found = std::find_if(device.terminals.begin(), device.terminals.end(),
                                   [&](const Terminal& terminal) { return terminal.name == name; });
   return found == device.terminals.end() ? nullptr : &*found;
}

const Device& Inventory::device(std::string_view name) const
{
   if (const Device* device = findDevice(name)) return *device;
   std::vector<std::string> names;
   for (const Device& device : devices_)
      names.push_back(device.name);
   throw Refusal(kUnknownDevice)
      .usage("kUsageTypeDevice", name)
      .usageList("kUsageTypePossibleValues", names)
      .status();
}

Place Inventory::terminal(std::string_view text) const
{
   const auto uri = parseTerminalUri(text);
   if (!uri) throw Refusal(kMalformedUri).usage("kUsageTypeTerminalString", text).status();
   const Device& owner = device(uri->device);
   if (const Terminal* terminal = findTerminal(owner, uri->terminal)) return {&owner, terminal};
   throw Refusal(kUnknownTerminal)
      .usage("kUsageTypeDevice", owner.name)
      .usage("kUsageTypeTerminalString", text)
      .status();
}

std::string Inventory::normalForm(std::string_view text) const
{
   auto uri = parseTerminalUri(text);
   if (!uri) throw Refusal(kMalformedUri).usage("kUsageTypeTerminalString", text).status();
   const Device* device = findDevice(uri->device);
   uri->device = device ? device->name : foldedDeviceName(uri->device);
   return uri->text();
}

std::int32_t attributeNumber(std::string_view name)
{
   static constexpr std::pair<std::string_view, std::int32_t> kNumbers[] = {
      {"Name", 0x1001},     {"Kind", 0x1002},          {"Connector", 0x1003},
      {"IsSource", 0x1004}, {"IsDestination", 0x1005}, {"IsLine", 0x1006},
      {"InUse", 0x1007},    {"Owner", 0x1008},         {"Invert", 0x2001},
      {"Filter", 0x2002},   {"Line", 0x3001},          {"SingleDevice", 0x3002},
   };
   for (const auto& [known, number] : kNumbers)
      if (known == name) return number;
   return 0;
}

} // namespace zerova::standin
