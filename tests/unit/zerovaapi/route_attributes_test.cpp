#include "service/checked_status.h"
#include "source/zerovaapi/handles.h"

#include <gtest/gtest.h>

namespace {

using namespace zerova;
using test::CheckedStatus;

class RouteAttributesFunctions : public testing::Test
{
protected:
   ~RouteAttributesFunctions() override { zerovaapi_RouteAttributes_destroy(handle); }

   CheckedStatus status;
   CheckedStatus failed{-5, "{}"};
   zerovaapi_RouteAttributes handle = zerovaapi_RouteAttributes_new(status);
   RouteAttributes& attributes = *unwrap(handle);
};

TEST_F(RouteAttributesFunctions, LifetimeOfAnUnknownValueIsSession)
{
   for (const int32_t value : {7, 0, -1, 257}) {
      attributes = RouteAttributes();
      attributes.lifetime = RouteLifetime::IMMEDIATE;
      zerovaapi_RouteAttributes_setLifetime(handle, value, status);
      EXPECT_EQ(attributes.lifetime, RouteLifetime::SESSION) << value;
      EXPECT_TRUE(attributes.__isset.lifetime) << value;
   }
   EXPECT_EQ(status.code(), 0);
}

TEST_F(RouteAttributesFunctions, LifetimeOneIsImmediate)
{
   zerovaapi_RouteAttributes_setLifetime(handle, zerovaapi_kLifetimeImmediate, status);
   EXPECT_EQ(attributes.lifetime, RouteLifetime::IMMEDIATE);
}

TEST_F(RouteAttributesFunctions, TargetStateOfAnUnknownValueIsCalculated)
{
   for (const int32_t value : {-1, 0, 3, 257}) {
      attributes = RouteAttributes();
      attributes.routeState = RouteState::PROGRAMMED;
      zerovaapi_RouteAttributes_setCalculationTargetState(handle, value, status);
      EXPECT_EQ(attributes.routeState, RouteState::CALCULATED) << value;
      EXPECT_TRUE(attributes.__isset.routeState) << value;
   }
}

TEST_F(RouteAttributesFunctions, TargetStatesHaveTheirNumbers)
{
   zerovaapi_RouteAttributes_setCalculationTargetState(handle, zerovaapi_kStateReserved, status);
   EXPECT_EQ(attributes.routeState, RouteState::RESERVED);
   zerovaapi_RouteAttributes_setCalculationTargetState(handle, zerovaapi_kStateProgrammed, status);
   EXPECT_EQ(attributes.routeState, RouteState::PROGRAMMED);
}

TEST_F(RouteAttributesFunctions, EmptyOwnerNameStaysMarked)
{
   zerovaapi_RouteAttributes_setOwnerName(handle, "somebody", status);
   zerovaapi_RouteAttributes_setOwnerName(handle, "", status);
   EXPECT_EQ(attributes.owner_name, "");
   EXPECT_TRUE(attributes.__isset.owner_name);
}

TEST_F(RouteAttributesFunctions, WithAnErrorNoSetterWritesValueOrMarker)
{
   zerovaapi_RouteAttributes_setLifetime(handle, 1, failed);
   zerovaapi_RouteAttributes_setCalculationTargetState(handle, 1, failed);
   zerovaapi_RouteAttributes_setForceMultiDeviceRoute(handle, true, failed);
   zerovaapi_RouteAttributes_setOwnerName(handle, "me", failed);
   EXPECT_FALSE(attributes.__isset.lifetime);
   EXPECT_FALSE(attributes.__isset.routeState);
   EXPECT_FALSE(attributes.__isset.force_multi_device_route);
   EXPECT_FALSE(attributes.__isset.owner_name);
   EXPECT_EQ(attributes.lifetime, RouteLifetime::SESSION);
   EXPECT_EQ(attributes.routeState, RouteState::CALCULATED);
   EXPECT_FALSE(attributes.force_multi_device_route);
   EXPECT_EQ(attributes.owner_name, "");
}

TEST_F(RouteAttributesFunctions, WithAnErrorNoEntryIsMade)
{
   const zerovaapi_AttributeMap map = zerovaapi_RouteAttributes_getConstraints(handle);
   zerovaapi_RouteConstraints_setBoolConstraint(map, "a", true, failed);
   zerovaapi_RouteConstraints_setStringConstraint(map, "b", "x", failed);
   zerovaapi_RouteModifiers_setBoolModifier(map, "c", true, failed);
   zerovaapi_RouteModifiers_setStringModifier(map, "d", "x", failed);
   EXPECT_TRUE(unwrap(map)->empty());
   EXPECT_EQ(failed.json(), "{}");
}

TEST_F(RouteAttributesFunctions, EachGetterMarksAndGivesItsOwnMap)
{
   EXPECT_EQ(unwrap(zerovaapi_RouteAttributes_getConstraints(handle)), &attributes.constraints);
   EXPECT_TRUE(attributes.__isset.constraints);
   EXPECT_FALSE(attributes.__isset.source_constraints);
   EXPECT_EQ(unwrap(zerovaapi_RouteAttributes_getSourceConstraints(handle)),
             &attributes.source_constraints);
   EXPECT_TRUE(attributes.__isset.source_constraints);
   EXPECT_FALSE(attributes.__isset.destination_constraints);
   EXPECT_EQ(unwrap(zerovaapi_RouteAttributes_getDestinationConstraints(handle)),
             &attributes.destination_constraints);
   EXPECT_TRUE(attributes.__isset.destination_constraints);
   EXPECT_FALSE(attributes.__isset.optional_modifiers);
   EXPECT_EQ(unwrap(zerovaapi_RouteAttributes_getOptionalModifiers(handle)),
             &attributes.optional_modifiers);
   EXPECT_TRUE(attributes.__isset.optional_modifiers);
   EXPECT_FALSE(attributes.__isset.required_modifiers);
   EXPECT_EQ(unwrap(zerovaapi_RouteAttributes_getRequiredModifiers(handle)),
             &attributes.required_modifiers);
   EXPECT_TRUE(attributes.__isset.required_modifiers);
   EXPECT_FALSE(attributes.__isset.destination_required_modifiers);
   EXPECT_EQ(unwrap(zerovaapi_RouteAttributes_getDestinationRequiredModifiers(handle)),
             &attributes.destination_required_modifiers);
   EXPECT_TRUE(attributes.__isset.destination_required_modifiers);
}

TEST_F(RouteAttributesFunctions, StringSetAgainAsBoolKeepsBothValuesInOneEntry)
{
   const zerovaapi_AttributeMap map = zerovaapi_RouteAttributes_getConstraints(handle);
   zerovaapi_RouteConstraints_setStringConstraint(map, "n", "text", status);
   zerovaapi_RouteConstraints_setBoolConstraint(map, "n", true, status);
   ASSERT_EQ(unwrap(map)->size(), 1u);
   const Attribute& entry = unwrap(map)->at("n");
   EXPECT_EQ(entry.attr_type, AttrType::BOOL);
   EXPECT_TRUE(entry.__isset.bool_attr && entry.bool_attr);
   EXPECT_TRUE(entry.__isset.str_attr);
   EXPECT_EQ(entry.str_attr, "text");
}

TEST_F(RouteAttributesFunctions, ModifierFunctionsWriteAsConstraintFunctionsDo)
{
   const zerovaapi_AttributeMap map = zerovaapi_RouteAttributes_getConstraints(handle);
   zerovaapi_RouteModifiers_setStringModifier(map, "s", "text", status);
   zerovaapi_RouteModifiers_setBoolModifier(map, "", true, status);
   EXPECT_EQ(unwrap(map)->at("s").attr_type, AttrType::STRING);
   EXPECT_EQ(unwrap(map)->at("s").str_attr, "text");
   EXPECT_FALSE(unwrap(map)->at("s").__isset.bool_attr);
   EXPECT_EQ(unwrap(map)->at("").attr_type, AttrType::BOOL);
   EXPECT_TRUE(unwrap(map)->at("").bool_attr);
   EXPECT_FALSE(unwrap(map)->at("").__isset.str_attr);
}

} // namespace
