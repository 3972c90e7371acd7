// What the JSON codec does when there is no memory for it.
#include "lorvexlua/codec_memory.h"
#include "lorvexlua/native_modules.h"

#include "support/failing_malloc.h"
#include "unit/lorvexlua/script_state.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

namespace {

// What a protected call of a chunk ends with, and the message of its failure.
struct Outcome
{
   int result = 0;
   std::string message;
};

// Holds whatever happens between its begin and its end to leaving no block.
struct NothingLeft
{
   NothingLeft() = default;
   NothingLeft(const NothingLeft&) = delete;
   NothingLeft& operator=(const NothingLeft&) = delete;
   ~NothingLeft() { EXPECT_EQ(liveBlocks(), before); }

   const ptrdiff_t before = liveBlocks();
};

class CodecWithoutMemory : public testing::Test
{
protected:
   CodecWithoutMemory() { state.open(lorvexlua_openCjson, "cjson"); }

   // Leaves a function on the stack that calls the chunk's.
   void load(const std::string& chunk)
   {
      ASSERT_EQ(luaL_loadstring(state.L, chunk.c_str()), 0) << lua_tostring(state.L, -1);
   }

   // With the allocation of that index failing, if there are as many.
   Outcome call(size_t failing = SIZE_MAX, bool* hasFailed = nullptr)
   {
      lua_pushvalue(state.L, -1);
      Outcome outcome;
      {
         const FailingMalloc memory(failing);
         outcome.result = lua_pcall(state.L, 0, 0, 0);
         if (hasFailed) *hasFailed = memory.hasFailed();
      }
      if (outcome.result != 0) {
         const char* const text = lua_tostring(state.L, -1);
         outcome.message = text ? text : "";
         lua_pop(state.L, 1);
      }
      return outcome;
   }

   // Fails each allocation that the chunk makes in turn. What is larger than all before must
   // come whole right behind it.
   void failEachAllocation(const std::string& chunk)
   {
      const std::string larger = "local text = string.rep('\\1', 20000)\n"
                                 "return cjson.decode(cjson.encode({text, text}))[2] == text";
      ASSERT_EQ(state.run(larger), "true");
      load(chunk);
      size_t failures = 0;
      bool failed = true;
      for (size_t index = 0; failed; ++index) {
         const Outcome outcome = call(index, &failed);
         if (outcome.result == LUA_ERRMEM) ++failures;
         EXPECT_EQ(outcome.message, outcome.result == 0 ? "" : "not enough memory") << index;
         EXPECT_EQ(state.run(larger), "true") << index;
      }
      EXPECT_GT(failures, 0u);
      EXPECT_EQ(call().result, 0);
   }

   NothingLeft nothingLeft; // when the state is closed
   ScriptState state;
};

TEST_F(CodecWithoutMemory, EncodingFailsAsTheInterpreterDoesAndGoesOnAfterwards)
{
   failEachAllocation("cjson.encode({string.rep('a', 100), string.rep('b', 300000), {1.5}})");
}

TEST_F(CodecWithoutMemory, EncodingWithoutAKeptBufferFailsAsTheInterpreterDoes)
{
   failEachAllocation("local codec = cjson.new() codec.encode_keep_buffer(false)\n"
                      "codec.encode({string.rep('b', 300000)})");
}

TEST_F(CodecWithoutMemory, DecodingFailsAsTheInterpreterDoesAndGoesOnAfterwards)
{
   failEachAllocation("cjson.decode('[\"' .. string.rep('a', 100000) .. '\",{\"b\":[[]]}]')");
}

TEST_F(CodecWithoutMemory, AnotherCodecIsMadeOrNot)
{
   failEachAllocation("cjson.new().encode({cjson.new().new()._NAME})");
}

TEST_F(CodecWithoutMemory, BufferThatCouldNotBeTakenUpAgainIsNotKept)
{
   failEachAllocation("cjson.encode_keep_buffer(false)\n"
                      "cjson.encode_keep_buffer(true)\n"
                      "cjson.encode({string.rep('a', 5000)})");
}

TEST_F(CodecWithoutMemory, ErrorIsTheOneOfTheCoroutineThatEncodes)
{
   failEachAllocation("local encoding = coroutine.create(function()\n"
                      "   return cjson.encode({string.rep('a', 400000)}) end)\n"
                      "local ok, text = coroutine.resume(encoding)\n"
                      "if not ok then error(text, 0) end");
}

TEST_F(CodecWithoutMemory, TextThatTheCodecsSizesCannotHoldCountsAsLackOfMemory)
{
   // As many bytes as, at six for each, no int holds any more. The codec looks for room before each
   // byte that it escapes, but not before these.
   load("cjson.encode({string.rep('a', 360000000)})");
   EXPECT_EQ(call().result, LUA_ERRMEM);
   EXPECT_EQ(state.eval("cjson.encode({1})"), "[1]");
}

TEST_F(CodecWithoutMemory, ErrorOfAScriptIsNoLackOfMemory)
{
   load("cjson.encode({print})");
   const Outcome outcome = call();
   EXPECT_EQ(outcome.result, LUA_ERRRUN);
   EXPECT_EQ(outcome.message, "[string \"cjson.encode({print})\"]:1: Cannot serialise function: "
                              "type not supported");
   load("cjson.decode('[1,]')");
   EXPECT_EQ(call().message, "[string \"cjson.decode('[1,]')\"]:1: Expected value but found "
                             "T_ARR_END at character 4");
}

TEST_F(CodecWithoutMemory, ArgumentsAreToldByTheFunctionsOwnName)
{
   EXPECT_EQ(state.run("cjson.decode({})"),
             "error: test:1: bad argument #1 to 'decode' (string expected, got table)");
   EXPECT_EQ(state.run("cjson.decode()"),
             "error: test:1: bad argument #1 to 'decode' (expected 1 argument)");
   EXPECT_EQ(state.run("cjson.encode_keep_buffer('maybe')"),
             "error: test:1: bad argument #1 to 'encode_keep_buffer' (invalid option 'maybe')");
   EXPECT_EQ(state.run("cjson.encode_keep_buffer(true, 1)"),
             "error: test:1: bad argument #2 to 'encode_keep_buffer' (found too many arguments)");
   EXPECT_EQ(state.run("return cjson.encode_keep_buffer('off'), cjson.encode_keep_buffer(), "
                       "cjson.encode_keep_buffer('on')"),
             "false false true");
}

// Finalisers of scripts run while the error is raised: one that catches it must not keep the call
// from failing.
TEST_F(CodecWithoutMemory, FinaliserThatCatchesErrorsDoesNotSwallowTheCodecs)
{
   state.run("function litter()\n"
             "   for i = 1, 2000 do\n"
             "      local ghost = newproxy(true)\n"
             "      getmetatable(ghost).__gc = function() pcall(string.rep, 'x', 100 + i) end\n"
             "   end\n"
             "end");
   load("litter() cjson.encode({string.rep('a', 400000)})");
   size_t failures = 0;
   for (size_t index = 8000; index < 30000; index += 997) {
      bool failed = false;
      const Outcome outcome = call(index, &failed);
      EXPECT_EQ(outcome.message, outcome.result == 0 ? "" : "not enough memory");
      if (failed && outcome.result == LUA_ERRMEM) ++failures;
   }
   EXPECT_GT(failures, 0u);
   EXPECT_EQ(state.eval("cjson.encode({1})"), "[1]");
}

} // namespace
