#include "tools/simulator/attributes.h"

#include <utility>

namespace zerova::simulator {

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

bool isSameValue(const Attribute& left, const Attribute& right)
{
   if (left.attr_type != right.attr_type) return false;
   if (left.attr_type == AttrType::STRING) return left.str_attr == right.str_attr;
   return left.attr_type == AttrType::BOOL && left.bool_attr == right.bool_attr;
}

std::string shown(const Attribute& attribute)
{
   if (attribute.attr_type == AttrType::STRING) return attribute.str_attr;
   if (attribute.attr_type == AttrType::BOOL) return attribute.bool_attr ? "true" : "false";
   return "value of type " + std::to_string(static_cast<int>(attribute.attr_type));
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

} // namespace zerova::simulator
