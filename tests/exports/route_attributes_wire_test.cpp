// What an attribute object puts on the wire.
#include "exports/peer_session.h"
#include "service/checked_status.h"
#include "service/wire_bytes.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace zerova::test;

// The frame of a calculateRoute("s", "d") with these fields of the attribute struct.
std::string requestWith(const WireBytes& fields)
{
   WireBytes request;
   request.message(wire::kCall, "calculateRoute").textField(1, "s").textField(2, "d");
   request.field(wire::kStruct, 3).raw(fields.bytes()).stop();
   return request.stop().frame();
}

WireBytes& mapField(WireBytes& bytes, int16_t id, int32_t count)
{
   return bytes.field(wire::kMap, id).mapHeader(wire::kString, wire::kStruct, count);
}

class SentAttributes : public testing::Test
{
protected:
   ~SentAttributes() override { zerovaapi_RouteAttributes_destroy(attributes); }

   std::string send(zerovaapi_RouteAttributes attrs)
   {
      zerovaapi_calculateRoute(session, "s", "d", attrs, status);
      EXPECT_EQ(status.code(), 0) << status.json();
      return session.requests().back();
   }

   PeerSession session{answeringPlainly()};
   CheckedStatus status;
   zerovaapi_RouteAttributes attributes = zerovaapi_RouteAttributes_new(status);
};

TEST_F(SentAttributes, NullAndUntouchedObjectsSendTheSameBytes)
{
   EXPECT_EQ(send(nullptr), requestWith({}));
   EXPECT_EQ(send(attributes), requestWith({}));
}

TEST_F(SentAttributes, ScalarsAreSentOnceTheyAreSet)
{
   zerovaapi_RouteAttributes_setLifetime(attributes, zerovaapi_kLifetimeImmediate, status);
   zerovaapi_RouteAttributes_setCalculationTargetState(attributes, zerovaapi_kStateProgrammed,
                                                       status);
   zerovaapi_RouteAttributes_setForceMultiDeviceRoute(attributes, true, status);
   zerovaapi_RouteAttributes_setOwnerName(attributes, "me", status);
   EXPECT_EQ(
      send(attributes),
      requestWith(WireBytes().i32Field(1, 1).i32Field(2, 2).boolField(3, true).textField(4, "me")));
}

TEST_F(SentAttributes, DefaultsAreSentWhenTheyWereSet)
{
   zerovaapi_RouteAttributes_setLifetime(attributes, 7, status);
   zerovaapi_RouteAttributes_setCalculationTargetState(attributes, -1, status);
   zerovaapi_RouteAttributes_setForceMultiDeviceRoute(attributes, false, status);
   zerovaapi_RouteAttributes_setOwnerName(attributes, "", status);
   EXPECT_EQ(
      send(attributes),
      requestWith(WireBytes().i32Field(1, 0).i32Field(2, 0).boolField(3, false).textField(4, "")));
}

TEST_F(SentAttributes, GetterAloneSendsAnEmptyMap)
{
   zerovaapi_RouteAttributes_getConstraints(attributes);
   WireBytes fields;
   EXPECT_EQ(send(attributes), requestWith(mapField(fields, 5, 0)));
}

TEST_F(SentAttributes, GetterMarksWhateverAnyStatusHolds)
{
   CheckedStatus failed(-5, "{}");
   zerovaapi_RouteAttributes_setForceMultiDeviceRoute(attributes, true, failed);
   zerovaapi_RouteAttributes_getConstraints(attributes);
   WireBytes fields;
   EXPECT_EQ(send(attributes), requestWith(mapField(fields, 5, 0)));
}

TEST_F(SentAttributes, MapsHaveTheirIdsAndAnySetterWritesToAnyMap)
{
   const zerovaapi_AttributeMap maps[] = {
      zerovaapi_RouteAttributes_getConstraints(attributes),
      zerovaapi_RouteAttributes_getSourceConstraints(attributes),
      zerovaapi_RouteAttributes_getDestinationConstraints(attributes),
      zerovaapi_RouteAttributes_getOptionalModifiers(attributes),
      zerovaapi_RouteAttributes_getRequiredModifiers(attributes),
      zerovaapi_RouteAttributes_getDestinationRequiredModifiers(attributes),
   };
   WireBytes fields;
   int16_t id = 5;
   for (const zerovaapi_AttributeMap map : maps) {
      zerovaapi_RouteConstraints_setBoolConstraint(map, "b", true, status);
      zerovaapi_RouteConstraints_setStringConstraint(map, "s", "x", status);
      zerovaapi_RouteModifiers_setBoolModifier(map, "t", false, status);
      zerovaapi_RouteModifiers_setStringModifier(map, "u", "", status);
      mapField(fields, id++, 4).boolAttribute("b", true).stringAttribute("s", "x");
      fields.boolAttribute("t", false).stringAttribute("u", "");
   }
   EXPECT_EQ(send(attributes), requestWith(fields));
}

TEST_F(SentAttributes, EntriesGoInTheOrderOfTheirBytes)
{
   const zerovaapi_AttributeMap map = zerovaapi_RouteAttributes_getRequiredModifiers(attributes);
   for (const char* name : {"b", "\xC3\xA4", "", "ab", "a", "B"})
      zerovaapi_RouteModifiers_setBoolModifier(map, name, true, status);
   WireBytes fields;
   mapField(fields, 9, 6);
   for (const char* name : {"", "B", "a", "ab", "b", "\xC3\xA4"})
      fields.boolAttribute(name, true);
   EXPECT_EQ(send(attributes), requestWith(fields));
}

TEST_F(SentAttributes, StringSetAgainAsBoolSendsBothValues)
{
   const zerovaapi_AttributeMap map = zerovaapi_RouteAttributes_getConstraints(attributes);
   zerovaapi_RouteConstraints_setStringConstraint(map, "n", "text", status);
   zerovaapi_RouteConstraints_setBoolConstraint(map, "n", true, status);
   WireBytes fields;
   mapField(fields, 5, 1).text("n");
   fields.i32Field(1, wire::kAttributeBool).textField(2, "text").boolField(3, true).stop();
   EXPECT_EQ(send(attributes), requestWith(fields));
}

TEST_F(SentAttributes, EntrySetAgainKeepsOneEntryWithTheLastValue)
{
   const zerovaapi_AttributeMap map = zerovaapi_RouteAttributes_getConstraints(attributes);
   zerovaapi_RouteConstraints_setStringConstraint(map, "n", "first", status);
   zerovaapi_RouteModifiers_setStringModifier(map, "n", "second", status);
   WireBytes fields;
   mapField(fields, 5, 1).stringAttribute("n", "second");
   EXPECT_EQ(send(attributes), requestWith(fields));
}

TEST_F(SentAttributes, ObjectIsNotConsumedByACall)
{
   zerovaapi_RouteAttributes_setOwnerName(attributes, "me", status);
   const std::string first = send(attributes);
   EXPECT_EQ(send(attributes), first);
   zerovaapi_RouteAttributes_setLifetime(attributes, 0, status);
   EXPECT_EQ(send(attributes), requestWith(WireBytes().i32Field(1, 0).textField(4, "me")));
}

// A caller that passes an int where the function takes one byte, as code written by hand against
// the binary interface may do.
TEST_F(SentAttributes, OfABooleanTheLowByteCounts)
{
   const auto setForce =
      reinterpret_cast<void (*)(zerovaapi_RouteAttributes, int, quelerr_Status*)>(
         reinterpret_cast<void*>(&zerovaapi_RouteAttributes_setForceMultiDeviceRoute));
   setForce(attributes, 0x101, status);
   EXPECT_EQ(send(attributes), requestWith(WireBytes().boolField(3, true)));
   setForce(attributes, 0x100, status);
   EXPECT_EQ(send(attributes), requestWith(WireBytes().boolField(3, false)));
}

TEST(NewAttributes, WithAnErrorInTheStatusThereAreNone)
{
   CheckedStatus failed(-5, R"({"error":"first"})");
   EXPECT_EQ(zerovaapi_RouteAttributes_new(failed), nullptr);
   EXPECT_EQ(failed.json(), R"({"error":"first"})");
}

} // namespace
