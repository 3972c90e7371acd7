#include "lorvexlua/check_userdata.h"
#include "lorvexlua/native_modules.h"
#include "lorvexlua/number_rule.h"

#include <cstdio>
#include <cstring>
#include <type_traits>

// The two types are one design. What differs between them stands here.
namespace {

// The text behind what sscanf would skip, which it asks the host's locale for; null if no number can
// begin there.
const char* beginningOfNumber(const char* text)
{
   text += std::strspn(text, " \t\n\v\f\r");
   return *text != '\0' && std::strchr("+-0123456789", *text) ? text : nullptr;
}

template <class Integer>
struct IntegerType;

template <>
struct IntegerType<uint64_t>
{
   static constexpr const char* kName = "u64";
   static constexpr const char* kPrintFailure = "Failed to convert u64 to string";
   static constexpr const char* kHexFailure = "Failed to print hex value of u64";
   static constexpr const char* kBadOperand = "Can't get a u64 from argument";
   static constexpr const char* kBadArgument = "u64 constructor arg must be a number or a string";

   static uint64_t fromNumber(double number) { return lorvexlua_truncateToUint64(number); }

   // Decimal only; a minus sign wraps.
   static bool parse(const char* text, uint64_t& value)
   {
      unsigned long long parsed = 0;
      // What overflows is as sscanf has it. NOLINTNEXTLINE(cert-err34-c)
      const bool converted = std::sscanf(text, "%llu", &parsed) == 1;
      value = parsed;
      return converted;
   }

   static int print(char* text, size_t capacity, uint64_t value)
   {
      return std::snprintf(text, capacity, "%llu", static_cast<unsigned long long>(value));
   }
};

template <>
struct IntegerType<int64_t>
{
   static constexpr const char* kName = "i64";
   static constexpr const char* kPrintFailure = "Failed to convert i64 to string";
   static constexpr const char* kHexFailure = "Failed to print hex value of i64";
   static constexpr const char* kBadOperand = "Can't get a i64 from argument";
   static constexpr const char* kBadArgument = "i64 constructor arg must be a number or a string";

   static int64_t fromNumber(double number) { return lorvexlua_truncateToInt64(number); }

   // The base is found by the prefix, unlike the unsigned type's: scripts depend on both.
   static bool parse(const char* text, int64_t& value)
   {
      long long parsed = 0;
      // What overflows is as sscanf has it. NOLINTNEXTLINE(cert-err34-c)
      const bool converted = std::sscanf(text, "%lli", &parsed) == 1;
      value = parsed;
      return converted;
   }

   static int print(char* text, size_t capacity, int64_t value)
   {
      return std::snprintf(text, capacity, "%lli", static_cast<long long>(value));
   }
};

// Sums, differences and products wrap around; the detour over the unsigned type makes that defined.
template <class Integer>
Integer sum(Integer left, Integer right)
{
   return static_cast<Integer>(static_cast<uint64_t>(left) + static_cast<uint64_t>(right));
}

template <class Integer>
Integer difference(Integer left, Integer right)
{
   return static_cast<Integer>(static_cast<uint64_t>(left) - static_cast<uint64_t>(right));
}

template <class Integer>
Integer product(Integer left, Integer right)
{
   return static_cast<Integer>(static_cast<uint64_t>(left) * static_cast<uint64_t>(right));
}

// The machine's division, unguarded on purpose: a divisor of zero, and the lowest value divided by
// -1, end in the processor's division fault. The volatile divisor keeps the compiler from reasoning
// the fault away; the sanitizers are told to leave these two functions, and no others, alone.
#define LORVEXLUA_BARE_DIVISION                                                                    \
   __attribute__((noinline, no_sanitize("integer-divide-by-zero", "signed-integer-overflow")))

template <class Integer>
LORVEXLUA_BARE_DIVISION Integer quotient(Integer dividend, Integer divisor)
{
   volatile Integer bareDivisor = divisor;
   return dividend / bareDivisor; // NOLINT(clang-analyzer-core.DivideZero)
}

template <class Integer>
LORVEXLUA_BARE_DIVISION Integer remainder(Integer dividend, Integer divisor)
{
   volatile Integer bareDivisor = divisor;
   return dividend % bareDivisor; // NOLINT(clang-analyzer-core.DivideZero)
}

#undef LORVEXLUA_BARE_DIVISION

template <class Integer>
Integer unpack(const void* value)
{
   Integer integer;
   std::memcpy(&integer, value, sizeof integer);
   return integer;
}

template <class Integer>
int push(lua_State* L, Integer integer)
{
   std::memcpy(lua_newuserdata(L, sizeof integer), &integer, sizeof integer);
   luaL_getmetatable(L, IntegerType<Integer>::kName);
   lua_setmetatable(L, -2);
   return 1;
}

template <class Integer>
Integer checkValue(lua_State* L, int index)
{
   return unpack<Integer>(
      lorvexlua_checkUserdata(L, index, IntegerType<Integer>::kName, sizeof(Integer)));
}

template <class Integer>
Integer operand(lua_State* L, int index)
{
   const int type = lua_type(L, index);
   if (type == LUA_TNUMBER) return IntegerType<Integer>::fromNumber(lua_tonumber(L, index));
   if (type == LUA_TUSERDATA || type == LUA_TLIGHTUSERDATA) return checkValue<Integer>(L, index);
   luaL_error(L, "%s", IntegerType<Integer>::kBadOperand);
   return 0;
}

template <class Integer>
int construct(lua_State* L)
{
   // Any other count of arguments makes a zero, whatever they are.
   if (lua_gettop(L) != 1) return push<Integer>(L, 0);
   const int type = lua_type(L, 1);
   if (type == LUA_TNUMBER) return push(L, IntegerType<Integer>::fromNumber(lua_tonumber(L, 1)));
   if (type != LUA_TSTRING) return luaL_error(L, "%s", IntegerType<Integer>::kBadArgument);
   const char* const text = lua_tostring(L, 1);
   const char* const digits = beginningOfNumber(text);
   Integer integer = 0;
   if (!digits || !IntegerType<Integer>::parse(digits, integer))
      return luaL_error(L, "Unable to parse a number out of \"%s\"", text);
   return push(L, integer);
}

template <class Integer, Integer (*operation)(Integer, Integer)>
int arithmetic(lua_State* L)
{
   const Integer right = operand<Integer>(L, 2); // fetched first: scripts see whose fault is told
   const Integer left = operand<Integer>(L, 1);
   return push(L, operation(left, right));
}

template <class Integer>
int negate(lua_State* L)
{
   return push(L, difference<Integer>(0, operand<Integer>(L, 1)));
}

template <class Integer>
int equal(lua_State* L)
{
   const Integer left = operand<Integer>(L, 1);
   lua_pushboolean(L, left == operand<Integer>(L, 2));
   return 1;
}

template <class Integer>
int less(lua_State* L)
{
   const Integer left = operand<Integer>(L, 1);
   lua_pushboolean(L, left < operand<Integer>(L, 2));
   return 1;
}

template <class Integer>
int toString(lua_State* L)
{
   char text[32];
   if (IntegerType<Integer>::print(text, sizeof text, checkValue<Integer>(L, 1)) < 0)
      return luaL_error(L, "%s", IntegerType<Integer>::kPrintFailure);
   lua_pushstring(L, text);
   return 1;
}

template <class Integer>
int hexString(lua_State* L)
{
   const auto pattern = static_cast<unsigned long long>(checkValue<Integer>(L, 1));
   char text[32];
   if (std::snprintf(text, sizeof text, "%llx", pattern) < 0)
      return luaL_error(L, "%s", IntegerType<Integer>::kHexFailure);
   lua_pushstring(L, text);
   return 1;
}

template <class Integer>
void installMetatable(lua_State* L)
{
   static const luaL_Reg kMembers[] = {{"__tostring", toString<Integer>},
                                       {"__add", arithmetic<Integer, sum<Integer>>},
                                       {"__sub", arithmetic<Integer, difference<Integer>>},
                                       {"__mul", arithmetic<Integer, product<Integer>>},
                                       {"__div", arithmetic<Integer, quotient<Integer>>},
                                       {"__mod", arithmetic<Integer, remainder<Integer>>},
                                       {"__unm", negate<Integer>},
                                       {"__eq", equal<Integer>},
                                       {"__lt", less<Integer>},
                                       {nullptr, nullptr}};
   if (luaL_newmetatable(L, IntegerType<Integer>::kName)) {
      luaL_register(L, nullptr, kMembers);
      lua_createtable(L, 0, 1);
      lua_pushcfunction(L, hexString<Integer>);
      lua_setfield(L, -2, "hexstring");
      lua_setfield(L, -2, "__index");
   }
   lua_pop(L, 1);
}

} // namespace

int lorvexlua_openStdint(lua_State* L)
{
   static const luaL_Reg kFunctions[] = {
      {"u64", construct<uint64_t>}, {"i64", construct<int64_t>}, {nullptr, nullptr}};
   installMetatable<uint64_t>(L);
   installMetatable<int64_t>(L);
   luaL_register(L, "stdint", kFunctions);
   return 1;
}
