// The devices of the stand-in's laboratory, their terminals and what is fixed about them.
#ifndef TESTS_SERVICE_STANDIN_INVENTORY_H
#define TESTS_SERVICE_STANDIN_INVENTORY_H

#include "apiv1_types.h"

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace zerova::standin {

using Attributes = std::map<std::string, Attribute>;

Attribute textAttribute(const std::string& value);
Attribute boolAttribute(bool value);

struct Terminal
{
   std::string name;
   std::string uri;       // "/device/terminal"
   Attributes attributes; // the fixed ones

   const std::string& kind() const { return attributes.at("Kind").str_attr; }
   bool is(const std::string& attribute) const { return attributes.at(attribute).bool_attr; }
};

struct Device
{
   std::string name;                   // folded, as is the alias
   std::string alias;                  // a second name
   std::vector<std::string> modifiers; // what its routes can do to a signal
   std::vector<Terminal> terminals;

   bool supports(std::string_view modifier) const;
};

// A terminal and the device that it belongs to. Valid as long as the inventory.
struct Place
{
   const Device* device;
   const Terminal* terminal;

   bool operator==(const Place&) const = default;
};

// Terminals have these attributes: "Name", "Kind" and "Connector" are strings; "IsSource",
// "IsDestination" and "IsLine" are bools. A line is a terminal through which a device reaches the
// backplane that joins the devices; lines of one name are one wire.
class Inventory
{
public:
   Inventory();

   const std::vector<Device>& devices() const { return devices_; }

   // Find by name or alias. Refuse what is not there, or malformed.
   const Device& device(std::string_view name) const;
   Place terminal(std::string_view uri) const;
   // The same without a refusal: null.
   const Device* findDevice(std::string_view name) const;
   static const Terminal* findTerminal(const Device& device, std::string_view name);

   // The URI with the device's proper name, one slash before each name and none at the end. The
   // name of a device that is not there is folded. Refuses a malformed one.
   std::string normalForm(std::string_view uri) const;

private:
   std::vector<Device> devices_;
};

// The number under which refusals speak of an attribute, constraint or modifier; 0 for an unknown
// name.
std::int32_t attributeNumber(std::string_view name);

} // namespace zerova::standin

#endif
