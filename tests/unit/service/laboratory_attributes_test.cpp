#include "stub_client.h"

namespace zerova::test {
namespace {

using namespace simulator;
using testing::Contains;
using testing::HasSubstr;
using testing::Key;
using testing::Not;
using testing::Pair;

class LaboratoryAttributes : public Laboratory
{
protected:
   std::int32_t calculate(const std::string& from = "/matrix1/ch0",
                          const std::string& to = "/digitizer3/input0")
   {
      return client_->calculateRoute(from, to, attributes_);
   }

   std::int32_t refusedCode()
   {
      return codeOf([this] { calculate(); });
   }

   std::vector<DeviceInfo> infoOf(std::int32_t ticket)
   {
      std::vector<DeviceInfo> devices;
      client_->getRouteInfo(devices, ticket);
      return devices;
   }

   RouteAttributes attributes_;
};

TEST_F(LaboratoryAttributes, ConstrainTheLine)
{
   attributes_.__set_constraints({{"Line", textAttribute("analog_line1")}});
   EXPECT_THAT(infoOf(calculate()).at(0).terminals.at(1),
               Contains(Pair("Name", IsText("/matrix1/analog_line1"))));
}

TEST_F(LaboratoryAttributes, RefuseALineThatIsNotThere)
{
   attributes_.__set_constraints({{"Line", textAttribute("analog_line7")}});
   const ThriftStatus status = refusalOf([this] { calculate(); });
   EXPECT_EQ(status.code, kConstraintNotMet.number);
   EXPECT_THAT(status.description, AllOf(HasSubstr(row("kUsageTypeAttributeId", "12289")),
                                         HasSubstr(row("kUsageTypeValue", R"("analog_line7")"))));
}

TEST_F(LaboratoryAttributes, TellTheLinesThatThereAre)
{
   const auto possible = [this](const Attribute& line, const std::string& to) {
      attributes_.__set_constraints({{"Line", line}});
      return refusalOf([&] { calculate("/timer1/pulse", to); }).description;
   };
   const std::string lines =
      row("kUsageTypePossibleValues", R"(["trigger_line0","trigger_line1"])");
   EXPECT_THAT(possible(textAttribute("trigger_line9"), "/digitizer3/start"), HasSubstr(lines));
   EXPECT_THAT(possible(textAttribute("analog_line1"), "/digitizer3/start"), HasSubstr(lines));
   EXPECT_THAT(possible(boolAttribute(true), "/digitizer3/start"), HasSubstr(lines));
   EXPECT_THAT(possible(textAttribute("trigger_line9"), "/timer1/gate"), HasSubstr(lines));
   attributes_.__set_force_multi_device_route(true);
   EXPECT_THAT(possible(textAttribute("clock_line0"), "/timer1/gate"), HasSubstr(lines));
}

TEST_F(LaboratoryAttributes, TellTheValuesOfABoolean)
{
   attributes_.__set_constraints({{"SingleDevice", textAttribute("yes")}});
   EXPECT_THAT(refusalOf([this] { calculate(); }).description,
               HasSubstr(row("kUsageTypePossibleValues", R"(["true","false"])")));
}

TEST_F(LaboratoryAttributes, LeadARouteOutOfItsDeviceOverTheLineThatTheyName)
{
   attributes_.__set_constraints({{"Line", textAttribute("analog_line1")}});
   const auto devices = infoOf(calculate("/matrix1/ch0", "/matrix1/ch1"));
   ASSERT_THAT(devices, testing::SizeIs(3));
   EXPECT_THAT(devices.at(1).terminals.at(0),
               Contains(Pair("Name", IsText("/scanner2/analog_line1"))));
}

TEST_F(LaboratoryAttributes, KeepARouteInsideItsDeviceOrMakeItLeave)
{
   attributes_.__set_constraints({{"SingleDevice", boolAttribute(true)}});
   EXPECT_NO_THROW(calculate("/matrix1/ch0", "/matrix1/ch1"));
   EXPECT_EQ(refusedCode(), kConstraintNotMet.number);
   attributes_.__set_constraints({{"SingleDevice", boolAttribute(false)}});
   EXPECT_NO_THROW(calculate());
   EXPECT_THAT(infoOf(calculate("/matrix1/ch0", "/matrix1/ch1")), testing::SizeIs(3));
}

TEST_F(LaboratoryAttributes, RefuseAnUnknownConstraint)
{
   attributes_.__set_constraints({{"Colour", textAttribute("red")}});
   const ThriftStatus status = refusalOf([this] { calculate(); });
   EXPECT_EQ(status.code, kUnknownConstraint.number);
   EXPECT_THAT(status.description,
               AllOf(HasSubstr(row("kUsageTypeValue", R"("Colour")")),
                     HasSubstr(row("kUsageTypePossibleValues", R"(["Line","SingleDevice"])"))));
}

TEST_F(LaboratoryAttributes, RefuseAConstraintOfTheWrongType)
{
   attributes_.__set_constraints({{"Line", boolAttribute(true)}});
   EXPECT_EQ(refusedCode(), kConstraintNotMet.number);
   attributes_.__set_constraints({{"Line", Attribute()}});
   EXPECT_EQ(refusedCode(), kConstraintNotMet.number);
}

TEST_F(LaboratoryAttributes, ConstrainTheTerminalAtEitherEnd)
{
   attributes_.__set_source_constraints({{"Connector", textAttribute("front")}});
   attributes_.__set_destination_constraints({{"IsSource", boolAttribute(false)}});
   EXPECT_NO_THROW(calculate());
   attributes_.__set_source_constraints({{"Connector", textAttribute("rear")}});
   const ThriftStatus status = refusalOf([this] { calculate(); });
   EXPECT_EQ(status.code, kConstraintNotMet.number);
   EXPECT_THAT(status.description,
               AllOf(HasSubstr(row("kUsageTypeTerminalString", R"("/matrix1/ch0")")),
                     HasSubstr(row("kUsageTypePossibleValues", R"(["front"])"))));
   attributes_.__set_source_constraints({});
   attributes_.__set_destination_constraints({{"IsSource", boolAttribute(true)}});
   EXPECT_EQ(refusedCode(), kConstraintNotMet.number);
   attributes_.__set_destination_constraints({{"Colour", boolAttribute(true)}});
   EXPECT_EQ(refusedCode(), kUnknownConstraint.number);
}

TEST_F(LaboratoryAttributes, CountByTheirTypeAlone)
{
   Attribute both = textAttribute("front");
   both.__set_bool_attr(true);
   attributes_.__set_source_constraints({{"Connector", both}});
   EXPECT_NO_THROW(calculate());
   both.__set_attr_type(AttrType::BOOL);
   attributes_.__set_source_constraints({{"Connector", both}});
   EXPECT_EQ(refusedCode(), kConstraintNotMet.number);
}

TEST_F(LaboratoryAttributes, ShowTheModifiersInForceAtEitherEnd)
{
   attributes_.__set_required_modifiers({{"Filter", textAttribute("slow")}});
   attributes_.__set_destination_required_modifiers({{"Invert", boolAttribute(true)}});
   const auto devices = infoOf(calculate("/scanner2/in0", "/digitizer3/input0"));
   const Attributes& source = devices.at(0).terminals.at(0);
   const Attributes& destination = devices.at(1).terminals.at(1);
   EXPECT_THAT(source, Contains(Pair("Filter", IsText("slow"))));
   EXPECT_THAT(source, Not(Contains(Key("Invert"))));
   EXPECT_THAT(destination, Contains(Pair("Invert", IsBool(true))));
   EXPECT_THAT(destination, Not(Contains(Key("Filter"))));
}

TEST_F(LaboratoryAttributes, RefuseARequiredModifierThatTheDeviceHasNot)
{
   attributes_.__set_required_modifiers({{"Filter", textAttribute("slow")}});
   const ThriftStatus status = refusalOf([this] { calculate(); });
   EXPECT_EQ(status.code, kModifierNotPossible.number);
   EXPECT_THAT(status.description, AllOf(HasSubstr(row("kUsageTypeDevice", R"("matrix1")")),
                                         HasSubstr(row("kUsageTypeAttributeId", "8194")),
                                         HasSubstr(row("kUsageTypePossibleValues", "[]"))));
}

TEST_F(LaboratoryAttributes, RefuseAnUnknownRequiredModifier)
{
   attributes_.__set_destination_required_modifiers({{"Line", textAttribute("x")}});
   EXPECT_EQ(refusedCode(), kUnknownModifier.number);
}

TEST_F(LaboratoryAttributes, LeaveOutAnOptionalModifierThatCannotBeHad)
{
   attributes_.__set_optional_modifiers(
      {{"Filter", textAttribute("slow")}, {"Colour", boolAttribute(true)}});
   const auto devices = infoOf(calculate());
   EXPECT_THAT(devices.at(0).terminals.at(0), Not(Contains(Key("Filter"))));
   const auto others = infoOf(calculate("/scanner2/in0", "/digitizer3/input0"));
   EXPECT_THAT(others.at(0).terminals.at(0), Contains(Pair("Filter", IsText("slow"))));
}

} // namespace
} // namespace zerova::test
