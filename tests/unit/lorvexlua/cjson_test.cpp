#include "lorvexlua/native_modules.h"

#include "unit/lorvexlua/script_state.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace {

class Cjson : public testing::Test
{
protected:
   Cjson() { state.open(lorvexlua_openCjson, "cjson"); }

   std::string eval(const std::string& expression) { return state.eval(expression); }

   ScriptState state;
};

TEST_F(Cjson, IsAGlobalAndCannotBeRequired)
{
   EXPECT_EQ(eval("type(cjson)"), "table");
   EXPECT_EQ(eval("package.loaded.cjson"), "nil");
}

TEST_F(Cjson, OpenerReturnsTheModule)
{
   EXPECT_EQ(lorvexlua_openCjson(state.L), 1);
   EXPECT_TRUE(lua_istable(state.L, -1));
   lua_pop(state.L, 1);
}

TEST_F(Cjson, StockMembersAreKept)
{
   EXPECT_EQ(state.run(R"(
      local names = {}
      for name in pairs(cjson) do table.insert(names, name) end
      table.sort(names)
      return table.concat(names, " "))"),
             "_NAME _VERSION decode decode_invalid_numbers decode_max_depth encode "
             "encode_invalid_numbers encode_keep_buffer encode_max_depth encode_number_precision "
             "encode_sparse_array new null");
   EXPECT_EQ(eval("cjson._NAME, cjson._VERSION"), "cjson 2.1.0");
}

TEST_F(Cjson, ConfigurationIsTheStockOne)
{
   EXPECT_EQ(eval("cjson.encode_sparse_array()"), "false 2 10");
   EXPECT_EQ(eval("cjson.encode_max_depth()"), "1000");
   EXPECT_EQ(eval("cjson.decode_max_depth()"), "1000");
   EXPECT_EQ(eval("cjson.encode_number_precision()"), "14");
   EXPECT_EQ(eval("cjson.encode_invalid_numbers()"), "false");
   EXPECT_EQ(eval("cjson.decode_invalid_numbers()"), "true");
}

TEST_F(Cjson, SlashIsWrittenAsItStands)
{
   EXPECT_EQ(eval("cjson.encode({'/'})"), R"(["/"])");
   EXPECT_EQ(eval("cjson.encode({'//a/b//'})"), R"(["//a/b//"])");
   EXPECT_EQ(eval("cjson.encode({['/k'] = 'v/'})"), R"({"/k":"v/"})");
   EXPECT_EQ(eval("cjson.encode('/')"), R"("/")");
}

TEST_F(Cjson, BackslashBeforeASlashStaysEscaped)
{
   EXPECT_EQ(eval(R"(cjson.encode({"\\/"}))"), R"(["\\/"])");
   EXPECT_EQ(eval(R"(cjson.encode({"\\\\//\\"}))"), R"(["\\\\//\\"])");
}

TEST_F(Cjson, EveryByteSurvivesARoundTrip)
{
   EXPECT_EQ(state.run(R"(
      local bytes = {}
      for byte = 0, 255 do table.insert(bytes, string.char(byte) .. "/") end
      local text = table.concat(bytes)
      return cjson.decode(cjson.encode({text}))[1] == text)"),
             "true");
}

TEST_F(Cjson, OtherEscapesAreTheStockOnes)
{
   EXPECT_EQ(eval(R"(cjson.encode({"\0\1\n\"\\\127\195\169"}))"), R"(["\u0000\u0001\n\"\\\u007f)"
                                                                  "\xC3\xA9\"]");
}

TEST_F(Cjson, DecoderAcceptsAnEscapedSlash)
{
   EXPECT_EQ(eval(R"(cjson.decode('["\\/"]')[1])"), "/");
}

TEST_F(Cjson, FurtherCodecsLeaveSlashesBareToo)
{
   EXPECT_EQ(eval("cjson.new().encode({'/'})"), R"(["/"])");
   EXPECT_EQ(eval("cjson.new().new().encode({'/'})"), R"(["/"])");
}

TEST_F(Cjson, FurtherCodecHasItsOwnConfiguration)
{
   EXPECT_EQ(state.run(R"(
      local other = cjson.new()
      other.encode_number_precision(3)
      return other.encode({1.23456}), cjson.encode({1.23456}))"),
             "[1.23] [1.23456]");
}

TEST_F(Cjson, EncodeChecksItsArgumentsAsTheStockOne)
{
   EXPECT_EQ(eval("cjson.encode()"),
             "error: test:1: bad argument #1 to 'encode' (expected 1 argument)");
   EXPECT_EQ(eval("cjson.encode(1, 2)"),
             "error: test:1: bad argument #1 to 'encode' (expected 1 argument)");
}

TEST_F(Cjson, EncodeFailureNamesTheScriptsLine)
{
   EXPECT_EQ(eval("cjson.encode({print})"),
             "error: test:1: Cannot serialise function: type not supported");
   EXPECT_EQ(eval("cjson.encode({0/0})"),
             "error: test:1: Cannot serialise number: must not be NaN or Inf");
}

TEST_F(Cjson, EncodeLeavesTheStackLevelAfterAFailure)
{
   EXPECT_EQ(state.run(R"(
      for i = 1, 1000 do pcall(cjson.encode, {print}) end
      return cjson.encode({"/"}))"),
             R"(["/"])");
}

// An allocator that refuses large blocks from a moment on.
struct LimitedAllocator
{
   size_t largest = SIZE_MAX;

   static void* resize(void* context, void* block, size_t, size_t size)
   {
      if (size == 0) {
         std::free(block);
         return nullptr;
      }
      const auto* const self = static_cast<LimitedAllocator*>(context);
      return size > self->largest ? nullptr : std::realloc(block, size);
   }
};

TEST_F(Cjson, LackOfMemoryInEncodeStaysLackOfMemory)
{
   LimitedAllocator allocator;
   lua_State* const L = lua_newstate(LimitedAllocator::resize, &allocator);
   luaL_openlibs(L);
   lorvexlua_openCjson(L);
   ASSERT_EQ(luaL_dostring(L, "local text = {string.rep('/', 100000)}\n"
                              "function encodeLong() return cjson.encode(text) end"),
             0);
   allocator.largest = 50000;
   lua_getglobal(L, "encodeLong");
   EXPECT_EQ(lua_pcall(L, 0, 1, 0), LUA_ERRMEM);
   allocator.largest = SIZE_MAX;
   lua_getglobal(L, "encodeLong");
   EXPECT_EQ(lua_pcall(L, 0, 1, 0), 0);
   EXPECT_EQ(lua_objlen(L, -1), 100004u);
   lua_close(L);
}

} // namespace
