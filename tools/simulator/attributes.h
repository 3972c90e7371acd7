// The attributes of terminals, the constraints and the modifiers: names with a text or a bool each.
#ifndef TOOLS_SIMULATOR_ATTRIBUTES_H
#define TOOLS_SIMULATOR_ATTRIBUTES_H

#include "apiv1_types.h"

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

namespace zerova::simulator {

using Attributes = std::map<std::string, Attribute>;

Attribute textAttribute(const std::string& value);
Attribute boolAttribute(bool value);

// The type tag alone says which value counts.
bool isSameValue(const Attribute& left, const Attribute& right);
std::string shown(const Attribute& attribute);

// The number under which refusals speak of an attribute, constraint or modifier that drivers know; 0
// for another name.
std::int32_t attributeNumber(std::string_view name);

} // namespace zerova::simulator

#endif
