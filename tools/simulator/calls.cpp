#include "tools/simulator/calls.h"

#include "tools/simulator/refusal.h"

#include <algorithm>
#include <stdexcept>
#include <type_traits>
#include <utility>

namespace zerova::simulator {

namespace {

Json jsonFrom(const Attribute& attribute)
{
   if (attribute.attr_type == AttrType::STRING) return attribute.str_attr;
   if (attribute.attr_type == AttrType::BOOL) return attribute.bool_attr;
   return nullptr;
}

Json jsonFrom(const std::vector<Attributes>& terminals)
{
   Json list = Json::array();
   for (const Attributes& terminal : terminals)
      list.push_back(zerova::simulator::jsonFrom(terminal));
   return list;
}

Json jsonFrom(const std::vector<DeviceInfo>& devices)
{
   Json list = Json::array();
   for (const DeviceInfo& device : devices)
      list.push_back({{"device", device.deviceName}, {"terminals", jsonFrom(device.terminals)}});
   return list;
}

template <typename Plain>
Json jsonFrom(const Plain& plain)
{
   return plain;
}

Attributes attributesFrom(const Json& json)
{
   Attributes attributes;
   for (const auto& [name, value] : json.items())
      if (value.is_boolean())
         attributes[name] = boolAttribute(value.get<bool>());
      else if (value.is_string())
         attributes[name] = textAttribute(value.get<std::string>());
      else
         attributes[name] = Attribute();
   return attributes;
}

using Repeat = void (*)(Calls&, const Json&);

// The methods in the order of the interface, with the arguments as the log names them.
const std::vector<std::pair<std::string, Repeat>>& repeats()
{
   using Terminals = std::vector<Attributes>;
   static const std::vector<std::pair<std::string, Repeat>> all = {
      {"version", [](Calls& c, const Json& a) { c.version(a.at("version_string")); }},
      {"calculateRoute",
       [](Calls& c, const Json& a) {
          c.calculateRoute(a.at("src_uri"), a.at("dest_uri"), routeAttributesFrom(a.at("attrs")));
       }},
      {"reserveRoute", [](Calls& c, const Json& a) { c.reserveRoute(a.at("ticket")); }},
      {"programRoute", [](Calls& c, const Json& a) { c.programRoute(a.at("ticket")); }},
      {"unprogramRoute", [](Calls& c, const Json& a) { c.unprogramRoute(a.at("ticket")); }},
      {"unreserveRoute", [](Calls& c, const Json& a) { c.unreserveRoute(a.at("ticket")); }},
      {"destroyRoute", [](Calls& c, const Json& a) { c.destroyRoute(a.at("ticket")); }},
      {"destroyImmediateRoute",
       [](Calls& c, const Json& a) { c.destroyImmediateRoute(a.at("src_uri"), a.at("dest_uri")); }},
      {"destroyImmediateRoutesOnDevice",
       [](Calls& c, const Json& a) { c.destroyImmediateRoutesOnDevice(a.at("deviceAlias")); }},
      {"destroyImmediateRoutesFromSource",
       [](Calls& c, const Json& a) { c.destroyImmediateRoutesFromSource(a.at("src_uri")); }},
      {"destroyImmediateRoutesToDest",
       [](Calls& c, const Json& a) { c.destroyImmediateRoutesToDest(a.at("dest_uri")); }},
      {"getRouteInfo",
       [](Calls& c, const Json& a) {
          std::vector<DeviceInfo> devices;
          c.getRouteInfo(devices, a.at("ticket"));
       }},
      {"getSystemChangeNumber", [](Calls& c, const Json&) { c.getSystemChangeNumber(); }},
      {"hasTerminalInformationChanged",
       [](Calls& c, const Json& a) { c.hasTerminalInformationChanged(a.at("change_number")); }},
      {"getRoutableDevices",
       [](Calls& c, const Json&) {
          std::vector<std::string> devices;
          c.getRoutableDevices(devices);
       }},
      {"getTerminalNamesAndAttributesForDevice",
       [](Calls& c, const Json& a) {
          Terminals terminals;
          c.getTerminalNamesAndAttributesForDevice(terminals, a.at("dev_name"),
                                                   a.at("attribute_names"));
       }},
      {"resetTerminal",
       [](Calls& c, const Json& a) {
          c.resetTerminal(a.at("terminal_uri"), a.at("type_of_reset"));
       }},
      {"calculateResetTerminal",
       [](Calls& c, const Json& a) {
          c.calculateResetTerminal(a.at("terminal_uri"), a.at("type_of_reset"));
       }},
      {"initiateDeviceReset",
       [](Calls& c, const Json& a) { c.initiateDeviceReset(a.at("dev_name")); }},
      {"completeDeviceReset",
       [](Calls& c, const Json& a) { c.completeDeviceReset(a.at("dev_name")); }},
      {"isDebug", [](Calls& c, const Json&) { c.isDebug(); }},
      {"validateTerminalURI", [](Calls& c, const Json& a) { c.validateTerminalURI(a.at("uri")); }},
      {"areTerminalURIsEqual",
       [](Calls& c, const Json& a) { c.areTerminalURIsEqual(a.at("uri1"), a.at("uri2")); }},
   };
   return all;
}

ThriftStatus statusOf(const Fault& fault)
{
   ThriftStatus status;
   status.__set_code(fault.code);
   status.__set_description(fault.json);
   return status;
}

} // namespace

Json jsonFrom(const Attributes& attributes)
{
   Json json = Json::object();
   for (const auto& [name, value] : attributes)
      json[name] = jsonFrom(value);
   return json;
}

Json jsonFrom(const RouteAttributes& attributes)
{
   Json json = Json::object();
   const auto& isSet = attributes.__isset;
   if (isSet.lifetime) json["lifetime"] = static_cast<int>(attributes.lifetime);
   if (isSet.routeState) json["routeState"] = static_cast<int>(attributes.routeState);
   if (isSet.force_multi_device_route)
      json["force_multi_device_route"] = attributes.force_multi_device_route;
   if (isSet.owner_name) json["owner_name"] = attributes.owner_name;
   if (isSet.constraints) json["constraints"] = jsonFrom(attributes.constraints);
   if (isSet.source_constraints)
      json["source_constraints"] = jsonFrom(attributes.source_constraints);
   if (isSet.destination_constraints)
      json["destination_constraints"] = jsonFrom(attributes.destination_constraints);
   if (isSet.optional_modifiers)
      json["optional_modifiers"] = jsonFrom(attributes.optional_modifiers);
   if (isSet.required_modifiers)
      json["required_modifiers"] = jsonFrom(attributes.required_modifiers);
   if (isSet.destination_required_modifiers)
      json["destination_required_modifiers"] = jsonFrom(attributes.destination_required_modifiers);
   return json;
}

RouteAttributes routeAttributesFrom(const Json& json)
{
   RouteAttributes attributes;
   for (const auto& [name, value] : json.items())
      if (name == "lifetime")
         attributes.__set_lifetime(static_cast<RouteLifetime::type>(value.get<int>()));
      else if (name == "routeState")
         attributes.__set_routeState(static_cast<RouteState::type>(value.get<int>()));
      else if (name == "force_multi_device_route")
         attributes.__set_force_multi_device_route(value.get<bool>());
      else if (name == "owner_name")
         attributes.__set_owner_name(value.get<std::string>());
      else if (name == "constraints")
         attributes.__set_constraints(attributesFrom(value));
      else if (name == "source_constraints")
         attributes.__set_source_constraints(attributesFrom(value));
      else if (name == "destination_constraints")
         attributes.__set_destination_constraints(attributesFrom(value));
      else if (name == "optional_modifiers")
         attributes.__set_optional_modifiers(attributesFrom(value));
      else if (name == "required_modifiers")
         attributes.__set_required_modifiers(attributesFrom(value));
      else if (name == "destination_required_modifiers")
         attributes.__set_destination_required_modifiers(attributesFrom(value));
      else
         throw std::invalid_argument("a route has no attribute '" + name + "'");
   return attributes;
}

std::string lineOf(const Json& event)
{
   return event.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
}

const std::vector<std::string>& methodNames()
{
   static const std::vector<std::string> names = [] {
      std::vector<std::string> all;
      for (const auto& repeat : repeats())
         all.push_back(repeat.first);
      return all;
   }();
   return names;
}

Calls::Calls(Bench& bench, bool isDebug)
   : bench_(bench)
   , isDebug_(isDebug)
{
}

void Calls::setCaller(ConnectionId connection, RouteLifetime::type lifetime)
{
   connection_ = connection;
   lifetime_ = lifetime;
}

// The arguments are a function, so that nobody pays for them unless there is a log.
template <typename Arguments, typename Action>
auto Calls::recorded(const char* method, Arguments arguments, Action action)
{
   last_.method = method;
   last_.code = 0;
   last_.result = nullptr;
   if (isRecorded_) last_.arguments = arguments();
   try {
      if (error_) {
         throw statusOf(*error_);
      }
      if constexpr (std::is_void_v<decltype(action())>)
         action();
      else {
         auto result = action();
         if (isRecorded_) last_.result = jsonFrom(result);
         return result;
      }
   } catch (const ThriftStatus& status) {
      last_.code = status.code;
      throw;
   }
}

void Calls::repeat(const std::string& method, const Json& arguments)
{
   const auto found = std::ranges::find(repeats(), method, &std::pair<std::string, Repeat>::first);
   if (found == repeats().end())
      throw std::invalid_argument("the service has no method '" + method + "'");
   try {
      found->second(*this, arguments);
   } catch (const ThriftStatus&) {
      // The outcome is recorded.
   } catch (const Json::exception& error) {
      throw std::invalid_argument(method + ": " + error.what());
   }
}

void Calls::version(const std::string& version)
{
   recorded(
      "version",
      [&] {
         return Json{{"version_string", version}};
      },
      [&] {
         if (version == "1.0") return;
         throw Refusal(kUnsupportedVersion)
            .row("kUsageTypeZerovaServiceVersion", version)
            .row("kUsageTypePossibleValues", {"1.0"})
            .status();
      });
}

std::int32_t Calls::calculateRoute(const std::string& source, const std::string& destination,
                                   const RouteAttributes& attributes)
{
   return recorded(
      "calculateRoute",
      [&] {
         return Json{
            {"src_uri", source}, {"dest_uri", destination}, {"attrs", jsonFrom(attributes)}};
      },
      [&] {
         return bench_.calculateRoute(connection_, lifetime_, source, destination, attributes);
      });
}

void Calls::reserveRoute(std::int32_t ticket)
{
   recorded(
      "reserveRoute",
      [&] {
         return Json{{"ticket", ticket}};
      },
      [&] { bench_.reserveRoute(ticket); });
}

void Calls::programRoute(std::int32_t ticket)
{
   recorded(
      "programRoute",
      [&] {
         return Json{{"ticket", ticket}};
      },
      [&] { bench_.programRoute(ticket); });
}

void Calls::unprogramRoute(std::int32_t ticket)
{
   recorded(
      "unprogramRoute",
      [&] {
         return Json{{"ticket", ticket}};
      },
      [&] { bench_.unprogramRoute(ticket); });
}

void Calls::unreserveRoute(std::int32_t ticket)
{
   recorded(
      "unreserveRoute",
      [&] {
         return Json{{"ticket", ticket}};
      },
      [&] { bench_.unreserveRoute(ticket); });
}

void Calls::destroyRoute(std::int32_t ticket)
{
   recorded(
      "destroyRoute",
      [&] {
         return Json{{"ticket", ticket}};
      },
      [&] { bench_.destroyRoute(ticket); });
}

void Calls::destroyImmediateRoute(const std::string& source, const std::string& destination)
{
   recorded(
      "destroyImmediateRoute",
      [&] {
         return Json{{"src_uri", source}, {"dest_uri", destination}};
      },
      [&] { bench_.destroyImmediateRoute(source, destination); });
}

void Calls::destroyImmediateRoutesOnDevice(const std::string& device)
{
   recorded(
      "destroyImmediateRoutesOnDevice",
      [&] {
         return Json{{"deviceAlias", device}};
      },
      [&] { bench_.destroyImmediateRoutesOnDevice(device); });
}

void Calls::destroyImmediateRoutesFromSource(const std::string& source)
{
   recorded(
      "destroyImmediateRoutesFromSource",
      [&] {
         return Json{{"src_uri", source}};
      },
      [&] { bench_.destroyImmediateRoutesFromSource(source); });
}

void Calls::destroyImmediateRoutesToDest(const std::string& destination)
{
   recorded(
      "destroyImmediateRoutesToDest",
      [&] {
         return Json{{"dest_uri", destination}};
      },
      [&] { bench_.destroyImmediateRoutesToDest(destination); });
}

void Calls::getRouteInfo(std::vector<DeviceInfo>& devices, std::int32_t ticket)
{
   devices = recorded(
      "getRouteInfo",
      [&] {
         return Json{{"ticket", ticket}};
      },
      [&] { return bench_.routeInfo(ticket); });
}

std::int32_t Calls::getSystemChangeNumber()
{
   return recorded(
      "getSystemChangeNumber", [] { return Json::object(); },
      [&] { return bench_.changeNumber(); });
}

bool Calls::hasTerminalInformationChanged(std::int32_t changeNumber)
{
   return recorded(
      "hasTerminalInformationChanged",
      [&] {
         return Json{{"change_number", changeNumber}};
      },
      [&] { return changeNumber != bench_.changeNumber(); });
}

void Calls::getRoutableDevices(std::vector<std::string>& devices)
{
   devices = recorded(
      "getRoutableDevices", [] { return Json::object(); },
      [&] { return bench_.routableDevices(); });
}

void Calls::getTerminalNamesAndAttributesForDevice(std::vector<Attributes>& terminals,
                                                   const std::string& device,
                                                   const std::vector<std::string>& names)
{
   terminals = recorded(
      "getTerminalNamesAndAttributesForDevice",
      [&] {
         return Json{{"dev_name", device}, {"attribute_names", names}};
      },
      [&] { return bench_.terminals(device, names); });
}

void Calls::resetTerminal(const std::string& uri, const std::string& type)
{
   recorded(
      "resetTerminal",
      [&] {
         return Json{{"terminal_uri", uri}, {"type_of_reset", type}};
      },
      [&] { bench_.resetTerminal(uri, type); });
}

std::int32_t Calls::calculateResetTerminal(const std::string& uri, const std::string& type)
{
   return recorded(
      "calculateResetTerminal",
      [&] {
         return Json{{"terminal_uri", uri}, {"type_of_reset", type}};
      },
      [&] { return bench_.calculateResetTerminal(connection_, uri, type); });
}

void Calls::initiateDeviceReset(const std::string& device)
{
   recorded(
      "initiateDeviceReset",
      [&] {
         return Json{{"dev_name", device}};
      },
      [&] { bench_.initiateDeviceReset(connection_, device); });
}

void Calls::completeDeviceReset(const std::string& device)
{
   recorded(
      "completeDeviceReset",
      [&] {
         return Json{{"dev_name", device}};
      },
      [&] { bench_.completeDeviceReset(device); });
}

bool Calls::isDebug()
{
   return recorded(
      "isDebug", [] { return Json::object(); }, [&] { return isDebug_; });
}

bool Calls::validateTerminalURI(const std::string& uri)
{
   return recorded(
      "validateTerminalURI",
      [&] {
         return Json{{"uri", uri}};
      },
      [&] { return bench_.isTerminal(uri); });
}

bool Calls::areTerminalURIsEqual(const std::string& uri1, const std::string& uri2)
{
   return recorded(
      "areTerminalURIsEqual",
      [&] {
         return Json{{"uri1", uri1}, {"uri2", uri2}};
      },
      [&] { return bench_.areEqual(uri1, uri2); });
}

} // namespace zerova::simulator
