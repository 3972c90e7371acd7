// A host with a floating-point environment of its own: it gets the same texts, and keeps it.
#include "exports/lua_translator/host.h"
#include "support/floating_point.h"

#include <vector>

namespace {

constexpr int kRoundings[] = {FE_TONEAREST, FE_UPWARD, FE_DOWNWARD, FE_TOWARDZERO};

// Uses numbers in every way in which they can come into a text.
constexpr const char* kClient = R"(
   local atLoad = tostring(0.1 + 0.2)
   local M = {}
   function M.getStaticDesc(code)
      if code == 1 then return (code + 1) / 3 end
      if code == 2 then lorvexlua_errHandler = nil error(code / 3, 0) end
      return table.concat({atLoad, 0.1 * 3, 1 / 3, -1 / 3, math.sqrt(2), tonumber("0.1") * 3,
         string.format("%.3f %g", 2 / 3, 1e-7 / 3), lorvexlua_settings.number, 1e300 * 1e10,
         tostring(stdint.i64(1e18 / 3))}, " ")
   end
   function M.getDynamicDesc(json)
      return cjson.encode({cjson.decode(json), 1 / 3})
   end
   return M)";

class FloatingPointHost : public TranslatorHost
{
protected:
   // Every text that a translator of this host's gives.
   std::vector<std::string> texts()
   {
      std::vector<std::string> result;
      createWithClient(kClient, R"({"number":0.333333333333333333})");
      HostStatus failed;
      for (const int32_t code : {0, 1})
         result.push_back(*staticDesc(code));
      result.push_back(*dynamicDesc("[0.1,2.5e-9,1234567.891]"));
      staticDesc(2); // takes the message handler away
      translator->getStaticDesc(translator, 2, 0, HostMemory::allocate, &memory, &failed);
      result.push_back(failed("v.internal_error.string"));
      destroy();
      return result;
   }

   FloatingPoint environment;
};

TEST_F(FloatingPointHost, RoundingModeChangesNoText)
{
   const std::vector<std::string> usual = texts();
   for (const int rounding : kRoundings) {
      std::fesetround(rounding);
      const std::vector<std::string> others = texts();
      std::fesetround(FE_TONEAREST);
      EXPECT_EQ(others, usual) << rounding;
   }
}

TEST_F(FloatingPointHost, UnmaskedTrapsEndNothingAndChangeNoText)
{
   const std::vector<std::string> usual = texts();
   createWithClient(kClient, R"({"number":0.5})");
   HostStatus failed;
   std::vector<std::optional<std::string>> given;

   FloatingPoint::unmaskTraps();
   lorvex_Translator* const another =
      lorvex_exported_create("dorvex_zerova", R"({"lorvexlua_xlator":"dorvex","x":0.1})", &status);
   given.push_back(staticDesc(1));
   given.push_back(dynamicDesc("[0.1,2.5e-9,1234567.891]"));
   staticDesc(2);
   translator->getStaticDesc(translator, 2, 0, HostMemory::allocate, &memory, &failed);
   if (another) another->destroy(another);
   destroy();
   FloatingPoint::setUsual();

   EXPECT_NE(another, nullptr);
   EXPECT_EQ(given.at(0), usual.at(1));
   EXPECT_EQ(given.at(1), usual.at(2));
   EXPECT_EQ(failed("v.internal_error.string"), usual.at(3));
}

TEST_F(FloatingPointHost, EnvironmentIsAsItWasAfterEveryOperation)
{
   std::fesetround(FE_UPWARD);
   FloatingPoint::unmaskTraps();
   const FloatingPointState before;
   folder.write("client.lua", kClient);
   const std::string registration =
      R"({"lorvexlua_xlator":"client","lorvexlua_path":")" + folder.path() + "\"}";

   std::vector<FloatingPointState> after;
   for (const char* text : {registration.c_str(), "0.1", registration.c_str()}) {
      destroy();
      status.code = 0;
      translator = lorvex_exported_create("dorvex_zerova", text, &status);
      after.emplace_back();
   }
   for (const int32_t code : {0, 1, 2}) { // the last two fail
      staticDesc(code);
      after.emplace_back();
   }
   status.code = 0;
   dynamicDesc("[0.1]");
   after.emplace_back();
   dynamicDesc("no JSON");
   after.emplace_back();
   destroy();
   after.emplace_back();
   FloatingPoint::setUsual();

   EXPECT_EQ(before.rounding, FE_UPWARD);
   for (size_t i = 0; i < after.size(); ++i)
      EXPECT_EQ(after[i], before) << i;
}

TEST_F(FloatingPointHost, FlagsThatItHasRaisedStayAndNoneIsAdded)
{
   createWithClient(kClient, R"({"number":0.5})");
   std::feclearexcept(FE_ALL_EXCEPT);
   std::feraiseexcept(FE_UNDERFLOW);
   const FloatingPointState before;
   staticDesc(1);
   const FloatingPointState after;
   EXPECT_EQ(after, before);
}

// The host's callbacks, and what they see.
struct Watch
{
   static char* allocate(void*, size_t length, void* context, quelerr_Status*)
   {
      auto* const self = static_cast<Watch*>(context);
      self->seen.emplace_back();
      self->block.assign(length, '\0');
      return self->block.data();
   }

   static bool resize(quelerr_Status* status, uint32_t capacity)
   {
      resized.emplace_back();
      return quelerr_heapStatus_resize(status, capacity);
   }

   std::vector<FloatingPointState> seen;
   std::string block;
   static std::vector<FloatingPointState> resized;
};
std::vector<FloatingPointState> Watch::resized;

TEST_F(FloatingPointHost, CallbacksSeeItsOwnEnvironment)
{
   createWithClient("local function answer(_, lang) return lang == 1 and -5 or 'text' end\n"
                    "return {getStaticDesc = error, getDynamicDesc = answer}");
   Watch watch;
   Watch::resized.clear();
   std::fesetround(FE_DOWNWARD);
   const FloatingPointState before;
   HostStatus outcomes[3];
   for (HostStatus& outcome : outcomes)
      outcome.resize = Watch::resize;
   translator->getDynamicDesc(translator, "{}", 0, "", Watch::allocate, &watch, &outcomes[0]);
   translator->getDynamicDesc(translator, "{}", 1, "", Watch::allocate, &watch, &outcomes[1]);
   translator->getStaticDesc(translator, 1, 0, Watch::allocate, &watch, &outcomes[2]);
   FloatingPoint::setUsual();

   EXPECT_EQ(outcomes[0].code, 0);
   EXPECT_EQ(outcomes[1].code, -5);
   EXPECT_EQ(outcomes[2].code, -52003);
   EXPECT_THAT(watch.seen, testing::ElementsAre(before));
   EXPECT_THAT(Watch::resized,
               testing::AllOf(testing::SizeIs(testing::Ge(2u)), testing::Each(before)));
}

} // namespace
