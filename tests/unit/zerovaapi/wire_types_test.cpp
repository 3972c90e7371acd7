// The types of the interface: what they print, what they send, what they make of what they read.
#include "APIv1.h"

#include "service/wire_bytes.h"

#include <thrift/protocol/TBinaryProtocol.h>
#include <thrift/transport/TBufferTransports.h>

#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <sstream>
#include <string>

namespace {

using namespace zerova;
using namespace zerova::test;
using apache::thrift::protocol::TBinaryProtocol;
using apache::thrift::protocol::TProtocolException;
using apache::thrift::transport::TMemoryBuffer;

template <typename Struct>
std::string written(const Struct& value)
{
   const auto buffer = std::make_shared<TMemoryBuffer>();
   TBinaryProtocol protocol(buffer);
   value.write(&protocol);
   return buffer->getBufferAsString();
}

template <typename Struct>
Struct readFrom(const WireBytes& bytes)
{
   const auto buffer = std::make_shared<TMemoryBuffer>();
   buffer->write(reinterpret_cast<const uint8_t*>(bytes.bytes().data()),
                 static_cast<uint32_t>(bytes.bytes().size()));
   TBinaryProtocol protocol(buffer);
   Struct value;
   EXPECT_EQ(value.read(&protocol), bytes.bytes().size());
   return value;
}

template <typename Struct>
std::string printed(const Struct& value)
{
   std::ostringstream out;
   value.printTo(out);
   return out.str();
}

TEST(Attribute, FreshOneCountsItsTypeAloneAsPresent)
{
   const Attribute attribute;
   EXPECT_EQ(attribute.attr_type, AttrType::UNKNOWN);
   EXPECT_TRUE(attribute.__isset.attr_type);
   EXPECT_FALSE(attribute.__isset.str_attr);
   EXPECT_FALSE(attribute.__isset.bool_attr);
}

TEST(Attribute, SendsItsTypeAloneWhenNothingElseIsMarked)
{
   Attribute attribute;
   attribute.str_attr = "filled but not marked";
   EXPECT_EQ(written(attribute), WireBytes().i32Field(1, 0).stop().bytes());
}

TEST(Attribute, SendsItsTypeAlsoWithTheMarkerCleared)
{
   Attribute attribute;
   attribute.__isset.attr_type = false;
   EXPECT_EQ(written(attribute), WireBytes().i32Field(1, 0).stop().bytes());
}

TEST(Attribute, SendsBothValuesWhenBothAreMarked)
{
   Attribute attribute;
   attribute.attr_type = AttrType::BOOL;
   attribute.__set_str_attr("s");
   attribute.__set_bool_attr(true);
   EXPECT_EQ(written(attribute),
             WireBytes().i32Field(1, 2).textField(2, "s").boolField(3, true).stop().bytes());
}

TEST(Attribute, PrintsUnmarkedValuesAsNull)
{
   EXPECT_EQ(printed(Attribute()),
             "Attribute(attr_type=UNKNOWN, str_attr=<null>, bool_attr=<null>)");
}

TEST(Attribute, PrintsTextBareAndBooleansAsDigits)
{
   Attribute attribute;
   attribute.attr_type = AttrType::STRING;
   attribute.__set_str_attr("a \"b\"\n");
   attribute.__set_bool_attr(true);
   EXPECT_EQ(printed(attribute), "Attribute(attr_type=STRING, str_attr=a \"b\"\n, bool_attr=1)");
   attribute.bool_attr = false;
   attribute.attr_type = AttrType::BOOL;
   EXPECT_EQ(printed(attribute), "Attribute(attr_type=BOOL, str_attr=a \"b\"\n, bool_attr=0)");
}

TEST(Attribute, KeepsAndPrintsATypeThatHasNoName)
{
   const auto attribute = readFrom<Attribute>(WireBytes().i32Field(1, 7).stop());
   EXPECT_EQ(static_cast<int>(attribute.attr_type), 7);
   EXPECT_EQ(printed(attribute), "Attribute(attr_type=7, str_attr=<null>, bool_attr=<null>)");
}

TEST(DeviceInfo, SendsBothFieldsAlways)
{
   const DeviceInfo device;
   EXPECT_FALSE(device.__isset.deviceName);
   EXPECT_FALSE(device.__isset.terminals);
   EXPECT_EQ(
      written(device),
      WireBytes().textField(1, "").field(wire::kList, 2).listHeader(wire::kMap, 0).stop().bytes());
}

TEST(DeviceInfo, SkipsAFieldThatItDoesNotKnow)
{
   const auto device =
      readFrom<DeviceInfo>(WireBytes().textField(3, "what").textField(1, "dev").stop());
   EXPECT_EQ(device.deviceName, "dev");
   EXPECT_TRUE(device.__isset.deviceName);
   EXPECT_FALSE(device.__isset.terminals);
}

TEST(DeviceInfo, SkipsAKnownFieldOfAnotherType)
{
   const auto device = readFrom<DeviceInfo>(WireBytes().i32Field(1, 5).stop());
   EXPECT_EQ(device.deviceName, "");
   EXPECT_FALSE(device.__isset.deviceName);
}

TEST(DeviceInfo, MergesTheValuesOfARepeatedName)
{
   WireBytes bytes;
   bytes.field(wire::kList, 2).listHeader(wire::kMap, 1);
   bytes.mapHeader(wire::kString, wire::kStruct, 2);
   bytes.stringAttribute("n", "first").boolAttribute("n", true);
   const auto device = readFrom<DeviceInfo>(bytes.stop());
   ASSERT_EQ(device.terminals.size(), 1u);
   ASSERT_EQ(device.terminals[0].size(), 1u);
   const Attribute& merged = device.terminals[0].at("n");
   EXPECT_EQ(merged.attr_type, AttrType::BOOL);
   EXPECT_EQ(merged.str_attr, "first");
   EXPECT_TRUE(merged.bool_attr);
   EXPECT_TRUE(merged.__isset.str_attr);
}

TEST(DeviceInfo, PrintsItsTerminals)
{
   DeviceInfo device;
   device.deviceName = "dev";
   device.terminals.resize(2);
   device.terminals[0]["a"];
   device.terminals[0]["b"].__set_bool_attr(true);
   EXPECT_EQ(printed(device),
             "DeviceInfo(deviceName=dev, terminals=[{"
             "a: Attribute(attr_type=UNKNOWN, str_attr=<null>, bool_attr=<null>), "
             "b: Attribute(attr_type=UNKNOWN, str_attr=<null>, bool_attr=1)}, {}])");
}

TEST(RouteAttributes, FreshOneSendsNoField)
{
   EXPECT_EQ(written(RouteAttributes()), WireBytes().stop().bytes());
}

TEST(RouteAttributes, FreshOnePrintsNulls)
{
   EXPECT_EQ(printed(RouteAttributes()),
             "RouteAttributes(lifetime=<null>, routeState=<null>, force_multi_device_route=<null>, "
             "owner_name=<null>, constraints=<null>, source_constraints=<null>, "
             "destination_constraints=<null>, optional_modifiers=<null>, "
             "required_modifiers=<null>, destination_required_modifiers=<null>)");
}

TEST(RouteAttributes, PrintsWhatIsSet)
{
   auto attributes = readFrom<RouteAttributes>(WireBytes().i32Field(2, 9).stop());
   attributes.__set_lifetime(RouteLifetime::IMMEDIATE);
   attributes.__set_force_multi_device_route(true);
   attributes.__set_owner_name("me");
   attributes.__set_constraints({{"k", Attribute()}});
   attributes.__set_required_modifiers({});
   EXPECT_EQ(printed(attributes),
             "RouteAttributes(lifetime=IMMEDIATE, routeState=9, force_multi_device_route=1, "
             "owner_name=me, constraints={k: Attribute(attr_type=UNKNOWN, str_attr=<null>, "
             "bool_attr=<null>)}, source_constraints=<null>, destination_constraints=<null>, "
             "optional_modifiers=<null>, required_modifiers={}, "
             "destination_required_modifiers=<null>)");
}

TEST(RouteAttributes, SendsTheEntriesInTheOrderOfTheirBytes)
{
   RouteAttributes attributes;
   attributes.__set_constraints({{"b", {}}, {"\xC3\xA4", {}}, {"", {}}, {"ab", {}}, {"a", {}}});
   WireBytes expected;
   expected.field(wire::kMap, 5).mapHeader(wire::kString, wire::kStruct, 5);
   for (const char* name : {"", "a", "ab", "b", "\xC3\xA4"})
      expected.text(name).i32Field(1, 0).stop();
   EXPECT_EQ(written(attributes), expected.stop().bytes());
}

TEST(ThriftStatus, ReadsItsCodeAndDescription)
{
   const auto status =
      readFrom<ThriftStatus>(WireBytes().i32Field(1, -5).textField(2, "why").stop());
   EXPECT_EQ(status.code, -5);
   EXPECT_EQ(status.description, "why");
   EXPECT_TRUE(status.__isset.code && status.__isset.description);
}

TEST(ThriftStatus, CodeOfAnotherTypeIsSkipped)
{
   const auto status = readFrom<ThriftStatus>(WireBytes().textField(1, "-5").stop());
   EXPECT_EQ(status.code, 0);
   EXPECT_FALSE(status.__isset.code);
}

TEST(ThriftStatus, PrintsItsTextBare)
{
   ThriftStatus status;
   status.code = -5;
   status.description = R"({"a":1})";
   EXPECT_EQ(printed(status), R"(ThriftStatus(code=-5, description={"a":1}))");
}

TEST(ThriftStatus, WhatIsTheTextThatItPrintsBehindALead)
{
   ThriftStatus status;
   status.code = -5;
   status.description = "why";
   EXPECT_STREQ(status.what(),
                "TException - service has thrown: ThriftStatus(code=-5, description=why)");
}

TEST(ThriftStatus, CopyStartsWithoutTheTextOfItsOrigin)
{
   const auto status =
      readFrom<ThriftStatus>(WireBytes().i32Field(1, -5).textField(2, "why").stop());
   EXPECT_EQ(status.what(), status.thriftTExceptionMessageHolder_);
   const ThriftStatus copy(status);
   EXPECT_EQ(copy.code, -5);
   EXPECT_EQ(copy.description, "why");
   EXPECT_TRUE(copy.__isset.code && copy.__isset.description);
   EXPECT_EQ(copy.thriftTExceptionMessageHolder_, "");
}

TEST(WireTypes, NestingBeyondTheLimitIsRefusedInBothDirections)
{
   const auto buffer = std::make_shared<TMemoryBuffer>();
   TBinaryProtocol protocol(buffer);
   const uint32_t limit = protocol.getRecursionLimit();
   EXPECT_EQ(limit, 64u);
   for (uint32_t depth = 0; depth < limit; ++depth) {
      protocol.incrementInputRecursionDepth();
      protocol.incrementOutputRecursionDepth();
   }
   RouteAttributes attributes;
   const auto typeOf = [](auto body) -> int {
      try {
         body();
      } catch (const TProtocolException& e) {
         EXPECT_STREQ(e.what(), "TProtocolException: Exceeded depth limit");
         return e.getType();
      }
      return -1;
   };
   EXPECT_EQ(typeOf([&] { attributes.write(&protocol); }), TProtocolException::DEPTH_LIMIT);
   EXPECT_EQ(typeOf([&] { attributes.read(&protocol); }), TProtocolException::DEPTH_LIMIT);
}

} // namespace
