#include "tools/zerovactl/message.h"

#include "tools/zerovactl/shown_text.h"

#include <bit>
#include <cstddef>
#include <initializer_list>
#include <map>
#include <stdexcept>
#include <unordered_map>
#include <vector>

namespace zerovactl {

namespace {

enum WireType
{
   kStop = 0,
   kBool = 2,
   kByte = 3,
   kDouble = 4,
   kI16 = 6,
   kI32 = 8,
   kI64 = 10,
   kString = 11,
   kStruct = 12,
   kMap = 13,
   kSet = 14,
   kList = 15
};

// What the interface says of a value beyond its bytes.
struct Shape
{
   struct Field
   {
      int id;
      const char* name;
      const Shape* shape;
   };
   std::vector<Field> fields;           // of a structure
   const Shape* element = nullptr;      // of a list or of a map's values
   std::vector<const char*> valueNames; // of an enumeration
   bool isAttribute = false;
};

Shape structure(std::vector<Shape::Field> fields)
{
   Shape shape;
   shape.fields = std::move(fields);
   return shape;
}

Shape containerOf(const Shape& element)
{
   Shape shape;
   shape.element = &element;
   return shape;
}

Shape enumeration(std::vector<const char*> names)
{
   Shape shape;
   shape.valueNames = std::move(names);
   return shape;
}

Shape attribute(std::vector<Shape::Field> fields)
{
   Shape shape = structure(std::move(fields));
   shape.isAttribute = true;
   return shape;
}

const Shape kPlain;
const Shape kAttrType = enumeration({"UNKNOWN", "STRING", "BOOL"});
const Shape kLifetime = enumeration({"SESSION", "IMMEDIATE"});
const Shape kRouteState = enumeration({"CALCULATED", "RESERVED", "PROGRAMMED"});
const Shape kAttribute =
   attribute({{1, "attr_type", &kAttrType}, {2, "str_attr", &kPlain}, {3, "bool_attr", &kPlain}});
const Shape kAttributes = containerOf(kAttribute);
const Shape kTerminals = containerOf(kAttributes);
const Shape kDevice = structure({{1, "deviceName", &kPlain}, {2, "terminals", &kTerminals}});
const Shape kDevices = containerOf(kDevice);
const Shape kRouteAttributes = structure({{1, "lifetime", &kLifetime},
                                          {2, "routeState", &kRouteState},
                                          {3, "force_multi_device_route", &kPlain},
                                          {4, "owner_name", &kPlain},
                                          {5, "constraints", &kAttributes},
                                          {6, "source_constraints", &kAttributes},
                                          {7, "destination_constraints", &kAttributes},
                                          {8, "optional_modifiers", &kAttributes},
                                          {9, "required_modifiers", &kAttributes},
                                          {10, "destination_required_modifiers", &kAttributes}});
const Shape kStatus = structure({{1, "code", &kPlain}, {2, "description", &kPlain}});
const Shape kProtocolFailure = structure({{1, "message", &kPlain}, {2, "type", &kPlain}});

struct Method
{
   Shape arguments;
   Shape result;
};

Method method(std::initializer_list<const char*> names, const Shape& answer = kPlain)
{
   Method made;
   int id = 0;
   for (const char* name : names)
      made.arguments.fields.push_back({++id, name, &kPlain});
   made.result.fields = {{0, "success", &answer}, {1, "status", &kStatus}};
   return made;
}

const std::map<std::string, Method>& methods()
{
   static const auto kMethods = [] {
      std::map<std::string, Method> all = {
         {"version", method({"version_string"})},
         {"calculateRoute", method({"src_uri", "dest_uri", "attrs"})},
         {"destroyImmediateRoute", method({"src_uri", "dest_uri"})},
         {"destroyImmediateRoutesOnDevice", method({"deviceAlias"})},
         {"destroyImmediateRoutesFromSource", method({"src_uri"})},
         {"destroyImmediateRoutesToDest", method({"dest_uri"})},
         {"getRouteInfo", method({"ticket"}, kDevices)},
         {"hasTerminalInformationChanged", method({"change_number"})},
         {"getTerminalNamesAndAttributesForDevice",
          method({"dev_name", "attribute_names"}, kTerminals)},
         {"resetTerminal", method({"terminal_uri", "type_of_reset"})},
         {"calculateResetTerminal", method({"terminal_uri", "type_of_reset"})},
         {"initiateDeviceReset", method({"dev_name"})},
         {"completeDeviceReset", method({"dev_name"})},
         {"validateTerminalURI", method({"uri"})},
         {"areTerminalURIsEqual", method({"uri1", "uri2"})}};
      for (const char* name :
           {"reserveRoute", "programRoute", "unprogramRoute", "unreserveRoute", "destroyRoute"})
         all[name] = method({"ticket"});
      for (const char* name : {"getSystemChangeNumber", "getRoutableDevices", "isDebug"})
         all[name] = method({});
      all["calculateRoute"].arguments.fields[2].shape = &kRouteAttributes;
      return all;
   }();
   return kMethods;
}

class Reader
{
public:
   explicit Reader(std::string_view bytes)
      : bytes_(bytes)
   {
   }

   bool isAtEnd() const { return bytes_.empty(); }

   std::int64_t number(std::size_t size)
   {
      const std::string_view bytes = take(size);
      std::uint64_t value = static_cast<signed char>(bytes[0]) < 0 ? ~std::uint64_t{0} : 0;
      for (const char byte : bytes)
         value = value << 8 | static_cast<unsigned char>(byte);
      return static_cast<std::int64_t>(value);
   }

   std::string text()
   {
      const std::int64_t length = number(4);
      if (length < 0) throw std::runtime_error("a text has a negative length");
      return std::string(take(static_cast<std::size_t>(length)));
   }

   Json value(int type, const Shape& shape, int depth)
   {
      if (depth > kDeepest) throw std::runtime_error("it is nested too deeply");
      switch (type) {
      case kBool:
         return number(1) != 0;
      case kByte:
         return number(1);
      case kI16:
         return number(2);
      case kI32:
         return named(number(4), shape);
      case kI64:
         return number(8);
      case kDouble:
         return std::bit_cast<double>(number(8));
      case kString:
         return text();
      case kStruct:
         return structure(shape, depth);
      case kMap:
         return map(shape, depth);
      case kSet:
      case kList:
         return list(shape, depth);
      default:
         throw std::runtime_error("there is no wire type " + std::to_string(type));
      }
   }

   Json structure(const Shape& shape, int depth)
   {
      Json members = Json::object();
      for (int count = 0;; ++count) {
         const int type = static_cast<int>(number(1));
         if (type == kStop) break;
         // Each is looked for among those before it.
         if (count == kMostMembers) throw std::runtime_error("a structure has too many members");
         const int id = static_cast<int>(number(2));
         std::string name = "#" + std::to_string(id);
         const Shape* of = &kPlain;
         for (const Shape::Field& field : shape.fields) {
            if (field.id != id) continue;
            name = field.name;
            of = field.shape;
         }
         members[name] = value(type, *of, depth + 1);
      }
      return shape.isAttribute ? valueOf(members) : members;
   }

private:
   static constexpr int kDeepest = 64;
   static constexpr int kMostMembers = 256;

   std::string_view take(std::size_t size)
   {
      if (size > bytes_.size()) throw std::runtime_error("it ends too early");
      const std::string_view taken = bytes_.substr(0, size);
      bytes_.remove_prefix(size);
      return taken;
   }

   static Json named(std::int64_t number, const Shape& shape)
   {
      if (number >= 0 && static_cast<std::size_t>(number) < shape.valueNames.size())
         return shape.valueNames[static_cast<std::size_t>(number)];
      return number;
   }

   // Its value alone where it holds no other; else all of its members.
   static Json valueOf(const Json& members)
   {
      const bool isText = members.size() == 2 && members.value("attr_type", Json()) == "STRING";
      if (isText && members.contains("str_attr")) return members["str_attr"];
      const bool isBool = members.size() == 2 && members.value("attr_type", Json()) == "BOOL";
      if (isBool && members.contains("bool_attr")) return members["bool_attr"];
      return members;
   }

   std::int64_t count()
   {
      const std::int64_t count = number(4);
      if (count < 0) throw std::runtime_error("a container has a negative size");
      // Each element has a byte at least, but for structures without members, which have their end.
      if (static_cast<std::uint64_t>(count) > bytes_.size())
         throw std::runtime_error("a container announces more than there is");
      return count;
   }

   Json list(const Shape& shape, int depth)
   {
      Json elements = Json::array();
      const int type = static_cast<int>(number(1));
      for (std::int64_t left = count(); left > 0; --left)
         elements.push_back(value(type, shape.element ? *shape.element : kPlain, depth + 1));
      return elements;
   }

   Json map(const Shape& shape, int depth)
   {
      const int keyType = static_cast<int>(number(1));
      const int valueType = static_cast<int>(number(1));
      const Shape& element = shape.element ? *shape.element : kPlain;
      if (keyType == kString) return textMap(valueType, element, depth);
      Json members = Json::array();
      for (std::int64_t left = count(); left > 0; --left) {
         const Json key = value(keyType, kPlain, depth + 1);
         members.push_back({key, value(valueType, element, depth + 1)});
      }
      return members;
   }

   // Of a key that comes again the last value counts. An object of JSON would look for each key among all.
   Json textMap(int valueType, const Shape& element, int depth)
   {
      Json members = Json::object();
      auto& object = members.get_ref<Json::object_t&>();
      std::unordered_map<std::string, std::size_t> places;
      for (std::int64_t left = count(); left > 0; --left) {
         const auto key = value(kString, kPlain, depth + 1).get<std::string>();
         Json one = value(valueType, element, depth + 1);
         const auto [place, isNew] = places.emplace(key, object.size());
         if (isNew)
            object.push_back({key, std::move(one)});
         else
            (object.begin() + static_cast<std::ptrdiff_t>(place->second))->second = std::move(one);
      }
      return members;
   }

   std::string_view bytes_;
};

void putNumber(std::string& bytes, std::uint32_t number)
{
   for (int shift = 24; shift >= 0; shift -= 8)
      bytes += static_cast<char>(number >> shift & 0xFF);
}

void putText(std::string& bytes, const std::string& text)
{
   putNumber(bytes, static_cast<std::uint32_t>(text.size()));
   bytes += text;
}

constexpr std::uint32_t kVersion = 0x80010000;

} // namespace

std::uint32_t frameLength(std::string_view fourBytes)
{
   return static_cast<std::uint32_t>(Reader(fourBytes).number(4));
}

Message decodeMessage(std::string_view payload)
{
   Message message;
   try {
      Reader reader(payload);
      const std::uint32_t version = static_cast<std::uint32_t>(reader.number(4));
      if ((version & 0xFFFF0000) != kVersion)
         throw std::runtime_error("it is no message of the binary protocol");
      message.type = static_cast<MessageType>(version & 0xFF);
      message.method = reader.text();
      message.sequence = static_cast<std::int32_t>(reader.number(4));
      const auto found = methods().find(message.method);
      const Shape* shape = &kPlain;
      if (message.type == MessageType::kException)
         shape = &kProtocolFailure;
      else if (found != methods().end())
         shape =
            message.type == MessageType::kReply ? &found->second.result : &found->second.arguments;
      message.members = reader.structure(*shape, 0);
      if (!reader.isAtEnd()) message.problem = "there are bytes behind its end";
   } catch (const std::runtime_error& error) {
      message.problem = error.what();
   }
   return message;
}

std::string encodeCall(const std::string& method, const std::string* argument)
{
   std::string payload;
   putNumber(payload, kVersion | static_cast<std::uint32_t>(MessageType::kCall));
   putText(payload, method);
   putNumber(payload, 0);
   if (argument) {
      payload += {char{kString}, 0, 1};
      putText(payload, *argument);
   }
   payload += char{kStop};
   std::string frame;
   putNumber(frame, static_cast<std::uint32_t>(payload.size()));
   return frame + payload;
}

std::string valueText(const Json& value)
{
   std::string text;
   if (value.is_object()) {
      for (const auto& [name, one] : value.items())
         text += (text.empty() ? "" : ", ") + shown(name) + ": " + valueText(one);
      return "{" + text + "}";
   }
   if (value.is_array()) {
      for (const Json& one : value)
         text += (text.empty() ? "" : ", ") + valueText(one);
      return "[" + text + "]";
   }
   return shown(value.dump(-1, ' ', false, Json::error_handler_t::replace));
}

std::string argumentText(const Json& members)
{
   std::string text;
   for (const auto& [name, value] : members.items())
      text += (text.empty() ? "" : ", ") + (name[0] == '#' ? name + ": " : "") + valueText(value);
   return text;
}

} // namespace zerovactl
