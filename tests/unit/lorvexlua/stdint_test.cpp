#include "lorvexlua/native_modules.h"

#include "unit/lorvexlua/script_state.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>

namespace {

using testing::HasSubstr;

class Stdint : public testing::Test
{
protected:
   Stdint() { state.open(lorvexlua_openStdint, "stdint"); }

   std::string eval(const std::string& expression) { return state.eval(expression); }
   std::string u64(const std::string& argument) { return eval("stdint.u64(" + argument + ")"); }
   std::string i64(const std::string& argument) { return eval("stdint.i64(" + argument + ")"); }

   ScriptState state;
};

TEST_F(Stdint, ModuleIsAGlobalAndRequirable)
{
   EXPECT_EQ(eval("stdint == require('stdint')"), "true");
}

TEST_F(Stdint, OpenerReturnsTheModule)
{
   EXPECT_EQ(lorvexlua_openStdint(state.L), 1);
   EXPECT_TRUE(lua_istable(state.L, -1));
   lua_pop(state.L, 1);
}

TEST_F(Stdint, OpeningTwiceKeepsTheTypes)
{
   state.run("before = stdint.u64(5)");
   state.open(lorvexlua_openStdint, "stdint");
   EXPECT_EQ(eval("before + stdint.u64(1)"), "6");
}

TEST_F(Stdint, OpeningLeavesWhatStandsUnderTheNameOfAType)
{
   ScriptState other;
   lua_pushinteger(other.L, 7);
   lua_setfield(other.L, LUA_REGISTRYINDEX, "u64");
   other.open(lorvexlua_openStdint, "stdint");
   lua_getfield(other.L, LUA_REGISTRYINDEX, "u64");
   EXPECT_EQ(lua_tointeger(other.L, -1), 7);
}

TEST_F(Stdint, MetatableHasExactlyTheMembers)
{
   EXPECT_EQ(state.run(R"(
      local names = {}
      for name in pairs(debug.getmetatable(stdint.u64(0))) do table.insert(names, name) end
      table.sort(names)
      return table.concat(names, " "))"),
             "__add __div __eq __index __lt __mod __mul __sub __tostring __unm");
}

TEST_F(Stdint, IndexHoldsHexstringAlone)
{
   EXPECT_EQ(state.run(R"(
      local names = {}
      for name in pairs(debug.getmetatable(stdint.i64(0)).__index) do table.insert(names, name) end
      return table.concat(names, " "))"),
             "hexstring");
}

TEST_F(Stdint, AnyCountOfArgumentsButOneMakesZero)
{
   EXPECT_EQ(u64(""), "0");
   EXPECT_EQ(u64("1, 2"), "0");
   EXPECT_EQ(i64("nil, {}, print"), "0");
}

TEST_F(Stdint, ConstructorRefusesWhatIsNeitherNumberNorString)
{
   EXPECT_EQ(u64("nil"), "error: test:1: u64 constructor arg must be a number or a string");
   EXPECT_EQ(i64("{}"), "error: test:1: i64 constructor arg must be a number or a string");
   EXPECT_EQ(i64("true"), "error: test:1: i64 constructor arg must be a number or a string");
}

TEST_F(Stdint, ConstructorDoesNotCopyAValue)
{
   EXPECT_EQ(u64("stdint.u64(1)"),
             "error: test:1: u64 constructor arg must be a number or a string");
   EXPECT_EQ(i64("stdint.i64(1)"),
             "error: test:1: i64 constructor arg must be a number or a string");
}

TEST_F(Stdint, UnsignedNumberIsTruncatedAndWraps)
{
   EXPECT_EQ(u64("7.9"), "7");
   EXPECT_EQ(u64("-0.9"), "0");
   EXPECT_EQ(u64("-1"), "18446744073709551615");
   EXPECT_EQ(u64("2^63 - 1024"), "9223372036854774784");
   EXPECT_EQ(u64("2^63"), "9223372036854775808");
   EXPECT_EQ(u64("2^63 + 2048"), "9223372036854777856");
   EXPECT_EQ(u64("2^64 - 2048"), "18446744073709549568");
   EXPECT_EQ(u64("-2^63"), "9223372036854775808");
}

TEST_F(Stdint, UnsignedNumberOutOfRangeIsTwoTo63)
{
   for (const char* number :
        {"2^64", "1e300", "1/0", "-1/0", "0/0", "-(0/0)", "-2^63 - 2048", "-1e300"})
      EXPECT_EQ(u64(number), "9223372036854775808") << number;
}

TEST_F(Stdint, SignedNumberIsTruncated)
{
   EXPECT_EQ(i64("7.9"), "7");
   EXPECT_EQ(i64("-7.9"), "-7");
   EXPECT_EQ(i64("2^63 - 1024"), "9223372036854774784");
   EXPECT_EQ(i64("-2^63"), "-9223372036854775808");
}

TEST_F(Stdint, SignedNumberOutOfRangeIsTheLowestValue)
{
   for (const char* number : {"2^63", "2^64", "1e300", "1/0", "-1/0", "0/0", "-2^63 - 2048"})
      EXPECT_EQ(i64(number), "-9223372036854775808") << number;
}

TEST_F(Stdint, UnsignedTextIsDecimalOnly)
{
   EXPECT_EQ(u64("'18446744073709551615'"), "18446744073709551615");
   EXPECT_EQ(u64("' \\t\\n+12'"), "12");
   EXPECT_EQ(u64("'-1'"), "18446744073709551615");
   EXPECT_EQ(u64("'0x10'"), "0");
   EXPECT_EQ(u64("'010'"), "10");
   EXPECT_EQ(u64("'12abc'"), "12");
}

TEST_F(Stdint, SignedTextFindsItsBase)
{
   EXPECT_EQ(i64("'0x10'"), "16");
   EXPECT_EQ(i64("'010'"), "8");
   EXPECT_EQ(i64("'-12'"), "-12");
   EXPECT_EQ(i64("'0x7fffffffffffffff'"), "9223372036854775807");
}

TEST_F(Stdint, TextWithoutANumberIsRefusedByBoth)
{
   EXPECT_EQ(u64("'abc'"), "error: test:1: Unable to parse a number out of \"abc\"");
   EXPECT_EQ(i64("''"), "error: test:1: Unable to parse a number out of \"\"");
   EXPECT_EQ(i64("'-'"), "error: test:1: Unable to parse a number out of \"-\"");
   EXPECT_EQ(i64("'- 1'"), "error: test:1: Unable to parse a number out of \"- 1\"");
   EXPECT_EQ(u64("' '"), "error: test:1: Unable to parse a number out of \" \"");
   EXPECT_EQ(u64("' abc'"), "error: test:1: Unable to parse a number out of \" abc\"");
}

// White space in some code pages.
TEST_F(Stdint, WhiteSpaceInFrontIsThatOfTheLocaleC)
{
   EXPECT_EQ(i64("' \\t\\n\\v\\f\\r-5'"), "-5");
   for (const char* character : {"\\133", "\\160"}) {
      EXPECT_THAT(u64(std::string("'") + character + "5'"), HasSubstr("Unable to parse"));
      EXPECT_THAT(i64(std::string("'") + character + "5'"), HasSubstr("Unable to parse"));
   }
}

TEST_F(Stdint, NumericStringIsParsedAsTextAndNotAsANumber)
{
   EXPECT_EQ(u64("'1e3'"), "1");
   EXPECT_EQ(u64("1e3"), "1000");
}

TEST_F(Stdint, HexstringIsTheBarePattern)
{
   EXPECT_EQ(eval("stdint.u64(255):hexstring()"), "ff");
   EXPECT_EQ(eval("stdint.i64(-1):hexstring()"), "ffffffffffffffff");
   EXPECT_EQ(eval("stdint.u64():hexstring()"), "0");
}

TEST_F(Stdint, TextConversionsCheckTheirType)
{
   EXPECT_EQ(eval("stdint.u64(1).hexstring(stdint.i64(1))"),
             "error: test:1: bad argument #1 to 'hexstring' (u64 expected, got userdata)");
   EXPECT_EQ(eval("debug.getmetatable(stdint.i64(1)).__tostring(5)"),
             "error: test:1: bad argument #1 to '__tostring' (i64 expected, got number)");
}

TEST_F(Stdint, ArithmeticTakesNumbersOnEitherSide)
{
   EXPECT_EQ(eval("stdint.u64(5) + 1"), "6");
   EXPECT_EQ(eval("1 + stdint.u64(5)"), "6");
   EXPECT_EQ(eval("10 - stdint.i64(3)"), "7");
   EXPECT_EQ(eval("stdint.i64(-4) * 3"), "-12");
   EXPECT_EQ(eval("100 / stdint.u64(7)"), "14");
   EXPECT_EQ(eval("stdint.u64(100) % 7"), "2");
}

TEST_F(Stdint, ArithmeticWrapsAround)
{
   EXPECT_EQ(eval("stdint.u64(-1) + 1"), "0");
   EXPECT_EQ(eval("stdint.u64(0) - 1"), "18446744073709551615");
   EXPECT_EQ(eval("stdint.u64(2^63) * 2"), "0");
   EXPECT_EQ(eval("stdint.i64('9223372036854775807') + 1"), "-9223372036854775808");
   EXPECT_EQ(eval("stdint.i64(-2^63) - 1"), "9223372036854775807");
   EXPECT_EQ(eval("stdint.i64(-2^63) * -1"), "-9223372036854775808");
   EXPECT_EQ(eval("-stdint.i64(-2^63)"), "-9223372036854775808");
   EXPECT_EQ(eval("-stdint.u64(1)"), "18446744073709551615");
}

TEST_F(Stdint, SignedDivisionTruncatesTowardZero)
{
   EXPECT_EQ(eval("stdint.i64(-7) / stdint.i64(2)"), "-3");
   EXPECT_EQ(eval("stdint.i64(-7) % stdint.i64(2)"), "-1");
   EXPECT_EQ(eval("stdint.i64(7) % stdint.i64(-2)"), "1");
}

TEST_F(Stdint, UnsignedDivisionSeesTheHighestBitAsAValue)
{
   EXPECT_EQ(eval("stdint.u64(-1) / 2"), "9223372036854775807");
   EXPECT_EQ(eval("stdint.u64(-1) % 10"), "5");
}

TEST_F(Stdint, NegationReadsOnlyItsFirstArgument)
{
   EXPECT_EQ(eval("debug.getmetatable(stdint.i64(1)).__unm(stdint.i64(3), 'x')"), "-3");
}

TEST_F(Stdint, StringIsNoOperand)
{
   EXPECT_EQ(eval("stdint.u64(5) + '1'"), "error: test:1: Can't get a u64 from argument");
   EXPECT_EQ(eval("{} * stdint.i64(5)"), "error: test:1: Can't get a i64 from argument");
}

TEST_F(Stdint, MissingOperandIsABadOperand)
{
   EXPECT_EQ(eval("debug.getmetatable(stdint.u64(1)).__add(stdint.u64(1))"),
             "error: test:1: Can't get a u64 from argument");
   EXPECT_EQ(eval("debug.getmetatable(stdint.i64(1)).__eq()"),
             "error: test:1: Can't get a i64 from argument");
}

TEST_F(Stdint, TypesDoNotMix)
{
   EXPECT_EQ(eval("stdint.u64(5) + stdint.i64(1)"),
             "error: test:1: bad argument #2 to '?' (u64 expected, got userdata)");
   // The member called is the left operand's.
   EXPECT_EQ(eval("stdint.i64(1) + stdint.u64(5)"),
             "error: test:1: bad argument #2 to '?' (i64 expected, got userdata)");
}

// What only the debug library can make: values that carry the type's metatable and are none of it.
TEST_F(Stdint, LightUserdataIsNoValue)
{
   int target = 7;
   lua_pushlightuserdata(state.L, &target);
   lua_setglobal(state.L, "light");
   state.run("type = debug.getmetatable(stdint.u64(1))");
   for (const char* giveMetatable : {"", "debug.setmetatable(light, type)"}) {
      state.run(giveMetatable);
      for (const char* member : {"__tostring", "__unm", "__index.hexstring"})
         EXPECT_THAT(eval(std::string("type.") + member + "(light)"),
                     HasSubstr(" (u64 expected, got userdata)"))
            << member << giveMetatable;
      for (const char* member : {"__add", "__sub", "__mul", "__div", "__mod", "__eq", "__lt"}) {
         EXPECT_THAT(eval(std::string("type.") + member + "(light, stdint.u64(1))"),
                     HasSubstr("bad argument #1 to '"))
            << member << giveMetatable;
         EXPECT_THAT(eval(std::string("type.") + member + "(stdint.u64(1), light)"),
                     HasSubstr("bad argument #2 to '"))
            << member << giveMetatable;
      }
      EXPECT_EQ(u64("light"), "error: test:1: u64 constructor arg must be a number or a string");
   }
   state.run("debug.setmetatable(light, nil)");
}

TEST_F(Stdint, NullIsNoOperand)
{
   lua_pushlightuserdata(state.L, nullptr);
   lua_setglobal(state.L, "null");
   EXPECT_EQ(eval("stdint.u64(1) + null"),
             "error: test:1: bad argument #2 to '?' (u64 expected, got userdata)");
   EXPECT_EQ(eval("null + stdint.i64(1)"),
             "error: test:1: bad argument #1 to '?' (i64 expected, got userdata)");
}

TEST_F(Stdint, UserdataThatIsTooSmallIsNoValue)
{
   for (const size_t size : {0u, 1u, 7u}) {
      lua_newuserdata(state.L, size);
      lua_setglobal(state.L, "small");
      state.run("debug.setmetatable(small, debug.getmetatable(stdint.i64(1)))");
      EXPECT_EQ(eval("tostring(small)"),
                "error: bad argument #1 to '?' (i64 expected, got userdata)")
         << size;
      EXPECT_EQ(eval("small + 1"),
                "error: test:1: bad argument #1 to '?' (i64 expected, got userdata)")
         << size;
      EXPECT_EQ(eval("small:hexstring()"),
                "error: test:1: calling 'hexstring' on bad self (i64 expected, got userdata)")
         << size;
   }
}

TEST_F(Stdint, ArithmeticTellsOfTheSecondOperandFirst)
{
   EXPECT_EQ(eval("debug.getmetatable(stdint.u64(1)).__add('x', stdint.i64(1))"),
             "error: test:1: bad argument #2 to '__add' (u64 expected, got userdata)");
}

TEST_F(Stdint, ComparisonTellsOfTheFirstOperandFirst)
{
   for (const char* member : {"__eq", "__lt"})
      EXPECT_EQ(
         eval(std::string("debug.getmetatable(stdint.u64(1)).") + member + "(stdint.i64(1), 'x')"),
         std::string("error: test:1: bad argument #1 to '") + member +
            "' (u64 expected, got userdata)");
}

TEST_F(Stdint, EqualityHoldsWithinATypeAlone)
{
   EXPECT_EQ(eval("stdint.u64(5) == stdint.u64('5')"), "true");
   EXPECT_EQ(eval("stdint.u64(5) == stdint.u64(6)"), "false");
   EXPECT_EQ(eval("stdint.u64(5) == 5"), "false");
   EXPECT_EQ(eval("stdint.u64(5) == stdint.i64(5)"), "false");
}

TEST_F(Stdint, OrderIsThatOfTheType)
{
   EXPECT_EQ(eval("stdint.u64(3) < stdint.u64(5)"), "true");
   EXPECT_EQ(eval("stdint.i64(-1) < stdint.i64(0)"), "true");
   EXPECT_EQ(eval("stdint.u64(-1) < stdint.u64(0)"), "false");
}

TEST_F(Stdint, LessOrEqualWorksByTheLanguagesFallback)
{
   EXPECT_EQ(eval("stdint.u64(1) <= stdint.u64(1)"), "true");
   EXPECT_EQ(eval("stdint.i64(2) <= stdint.i64(1)"), "false");
}

TEST_F(Stdint, OrderAcrossTypesIsTheLanguagesError)
{
   EXPECT_EQ(eval("stdint.u64(1) < 2"), "error: test:1: attempt to compare userdata with number");
   EXPECT_EQ(eval("stdint.u64(1) < stdint.i64(2)"),
             "error: test:1: attempt to compare two userdata values");
}

TEST_F(Stdint, OperationMakesANewValue)
{
   EXPECT_EQ(state.run("local a = stdint.u64(1); local b = a + 1; return a, b"), "1 2");
}

// The processor's fault comes as a signal on one system and as an exit code on the other.
bool isDivisionFault(int exitStatus)
{
   return (exitStatus & 0x7F) == SIGFPE || static_cast<unsigned>(exitStatus) == 0xC0000094u;
}

using StdintDeathTest = Stdint;

TEST_F(StdintDeathTest, DivisionFaultIsTheProcessorsOwn)
{
   for (const char* expression :
        {"stdint.u64(1) / 0", "stdint.u64(1) % 0", "stdint.i64(1) / 0", "stdint.i64(1) % 0",
         "stdint.i64(-2^63) / -1", "stdint.i64(-2^63) % -1"})
      EXPECT_EXIT(
         {
            std::signal(SIGFPE, SIG_DFL); // a sanitizer's handler would turn it into an exit
            eval(std::string("pcall(function() return ") + expression + " end)");
         },
         isDivisionFault, "^$")
         << expression;
}

} // namespace
