#include "service/wire_bytes.h"

#include <stdexcept>

namespace zerova::test {

namespace {

constexpr std::uint32_t kVersion1 = 0x80010000U;

WireBytes reply(std::string_view method)
{
   return WireBytes().message(wire::kReply, method);
}

WireBytes& oneTerminalList(WireBytes& out)
{
   return out.listHeader(wire::kMap, 1)
      .mapHeader(wire::kString, wire::kStruct, 2)
      .boolAttribute("IsSource", true)
      .stringAttribute("Name", "/dev1/t0");
}

} // namespace

WireBytes& WireBytes::raw(std::string_view bytes)
{
   bytes_ += bytes;
   return *this;
}

WireBytes& WireBytes::byte(std::uint8_t value)
{
   bytes_ += static_cast<char>(value);
   return *this;
}

WireBytes& WireBytes::i16(std::int16_t value)
{
   const auto bits = static_cast<std::uint16_t>(value);
   return byte(static_cast<std::uint8_t>(bits >> 8)).byte(static_cast<std::uint8_t>(bits));
}

WireBytes& WireBytes::i32(std::int32_t value)
{
   const auto bits = static_cast<std::uint32_t>(value);
   for (int shift = 24; shift >= 0; shift -= 8)
      byte(static_cast<std::uint8_t>(bits >> shift));
   return *this;
}

WireBytes& WireBytes::text(std::string_view value)
{
   return i32(static_cast<std::int32_t>(value.size())).raw(value);
}

WireBytes& WireBytes::message(std::uint8_t type, std::string_view name, std::int32_t sequenceId)
{
   return i32(static_cast<std::int32_t>(kVersion1 | type)).text(name).i32(sequenceId);
}

WireBytes& WireBytes::messageWithoutVersion(std::uint8_t type, std::string_view name,
                                            std::int32_t sequenceId)
{
   return text(name).byte(type).i32(sequenceId);
}

WireBytes& WireBytes::field(std::uint8_t type, std::int16_t id)
{
   return byte(type).i16(id);
}

WireBytes& WireBytes::stop()
{
   return byte(wire::kStop);
}

WireBytes& WireBytes::i32Field(std::int16_t id, std::int32_t value)
{
   return field(wire::kI32, id).i32(value);
}

WireBytes& WireBytes::boolField(std::int16_t id, bool value)
{
   return field(wire::kBool, id).byte(value ? 1 : 0);
}

WireBytes& WireBytes::textField(std::int16_t id, std::string_view value)
{
   return field(wire::kString, id).text(value);
}

WireBytes& WireBytes::listHeader(std::uint8_t elementType, std::int32_t count)
{
   return byte(elementType).i32(count);
}

WireBytes& WireBytes::mapHeader(std::uint8_t keyType, std::uint8_t valueType, std::int32_t count)
{
   return byte(keyType).byte(valueType).i32(count);
}

WireBytes& WireBytes::stringAttribute(std::string_view name, std::string_view value)
{
   return text(name).i32Field(1, wire::kAttributeString).textField(2, value).stop();
}

WireBytes& WireBytes::boolAttribute(std::string_view name, bool value)
{
   return text(name).i32Field(1, wire::kAttributeBool).boolField(3, value).stop();
}

std::string WireBytes::frame() const
{
   return frameAnnouncing(static_cast<std::int32_t>(bytes_.size()));
}

std::string WireBytes::frameAnnouncing(std::int32_t length) const
{
   return WireBytes().i32(length).bytes() + bytes_;
}

std::string voidReply(std::string_view method)
{
   return reply(method).stop().frame();
}

std::string i32Reply(std::string_view method, std::int32_t value)
{
   return reply(method).i32Field(0, value).stop().frame();
}

std::string boolReply(std::string_view method, bool value)
{
   return reply(method).boolField(0, value).stop().frame();
}

std::string textListReply(std::string_view method, const std::vector<std::string>& values)
{
   WireBytes out = reply(method);
   out.field(wire::kList, 0).listHeader(wire::kString, static_cast<std::int32_t>(values.size()));
   for (const std::string& value : values)
      out.text(value);
   return out.stop().frame();
}

std::string statusReply(std::string_view method, std::int32_t code, std::string_view description)
{
   WireBytes out = reply(method);
   out.field(wire::kStruct, 1).i32Field(1, code).textField(2, description).stop();
   return out.stop().frame();
}

std::string exceptionReply(std::string_view method, std::int32_t type, std::string_view message)
{
   WireBytes out;
   out.message(wire::kException, method).textField(1, message).i32Field(2, type);
   return out.stop().frame();
}

std::string deviceListReply()
{
   WireBytes out = reply("getRouteInfo");
   out.field(wire::kList, 0).listHeader(wire::kStruct, 1).textField(1, "dev1");
   oneTerminalList(out.field(wire::kList, 2)).stop();
   return out.stop().frame();
}

std::string terminalListReply()
{
   WireBytes out = reply("getTerminalNamesAndAttributesForDevice");
   return oneTerminalList(out.field(wire::kList, 0)).stop().frame();
}

std::string methodOf(std::string_view frame)
{
   constexpr std::size_t kNameAt = 12; // frame length, version word, name length
   const std::string call =
      WireBytes().i32(static_cast<std::int32_t>(kVersion1 | wire::kCall)).bytes();
   if (frame.size() < kNameAt || frame.substr(4, 4) != call) return {};
   std::size_t length = 0;
   for (const char digit : frame.substr(8, 4))
      length = length << 8 | static_cast<std::uint8_t>(digit);
   if (length > frame.size() - kNameAt) return {};
   return std::string(frame.substr(kNameAt, length));
}

std::string plainReply(std::string_view method)
{
   if (method == "getRouteInfo") return deviceListReply();
   if (method == "getRoutableDevices") return textListReply(method, {"dev1", "dev2"});
   if (method == "getTerminalNamesAndAttributesForDevice") return terminalListReply();
   if (method == "calculateRoute" || method == "calculateResetTerminal" ||
       method == "getSystemChangeNumber")
      return i32Reply(method, 7);
   if (method == "hasTerminalInformationChanged" || method == "isDebug" ||
       method == "validateTerminalURI" || method == "areTerminalURIsEqual")
      return boolReply(method, true);
   for (const std::string& known : allMethods())
      if (method == known) return voidReply(method);
   throw std::invalid_argument("no method of the interface: " + std::string(method));
}

const std::vector<std::string>& allMethods()
{
   static const std::vector<std::string> kMethods = {
      "version",
      "calculateRoute",
      "reserveRoute",
      "programRoute",
      "unprogramRoute",
      "unreserveRoute",
      "destroyRoute",
      "destroyImmediateRoute",
      "destroyImmediateRoutesOnDevice",
      "destroyImmediateRoutesFromSource",
      "destroyImmediateRoutesToDest",
      "getRouteInfo",
      "getSystemChangeNumber",
      "hasTerminalInformationChanged",
      "getRoutableDevices",
      "getTerminalNamesAndAttributesForDevice",
      "resetTerminal",
      "calculateResetTerminal",
      "initiateDeviceReset",
      "completeDeviceReset",
      "isDebug",
      "validateTerminalURI",
      "areTerminalURIsEqual",
   };
   return kMethods;
}

} // namespace zerova::test
