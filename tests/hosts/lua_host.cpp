// A host that scripts itself, and lends its interpreter to all that it loads.
#include "hosts/host.h"

#include "service/checked_status.h"
#include "support/library.h"
#include "support/scratch_folder.h"

#include <gmock/gmock.h>
#include <lua.hpp>

#include <cstdlib>
#include <map>

namespace {

// Memory of the interpreter's states that nobody else may ask for.
struct Allocator
{
   size_t calls = 0;
   std::map<void*, size_t> blocks = {};

   static void* allocate(void* self, void* block, size_t, size_t size)
   {
      auto& [calls, blocks] = *static_cast<Allocator*>(self);
      ++calls;
      blocks.erase(block);
      if (size == 0) {
         std::free(block);
         return nullptr;
      }
      block = std::realloc(block, size);
      if (block) blocks[block] = size;
      return block;
   }
};

Allocator allocator;

} // namespace

#ifdef HOST_ALLOCATES_FOR_LUA
// In the place of the interpreter's own, so that every state of this process comes this way.
lua_State* luaL_newstate(void)
{
   return lua_newstate(Allocator::allocate, &allocator);
}
#endif

namespace {

// One for all tests, at work before the library comes.
lua_State* interpreter()
{
   static lua_State* const state = [] {
      lua_State* const made = luaL_newstate();
      luaL_openlibs(made);
      if (luaL_dostring(made, "rounds = 0 names = 0 for _ in pairs(_G) do names = names + 1 end"))
         ADD_FAILURE() << lua_tostring(made, -1);
      return made;
   }();
   return state;
}

std::string run(const char* script)
{
   lua_State* const state = interpreter();
   const bool failed = luaL_dostring(state, script);
   const char* const text = lua_tostring(state, -1);
   std::string result = std::string(failed ? "failed: " : "") + (text ? text : "no text");
   lua_settop(state, 0);
   return result;
}

} // namespace

std::string zerova::test::stateOfTheHost()
{
   return run(R"(
      rounds = rounds + 1
      local count = 0
      for _ in pairs(_G) do count = count + 1 end
      local caught, why = pcall(error, {rounds})
      return _VERSION .. " " .. count - names .. " " .. string.format("%.2f", 1 / 3) .. " " ..
         tostring(not caught and why[1] == rounds) .. " " .. tostring(cjson) .. tostring(lfs))");
}

namespace {

using zerova::test::CheckedStatus;
using zerova::test::Host;

TEST_F(Host, HasAnInterpreterThatWorksAndIsSeenByAll)
{
   EXPECT_EQ(zerova::test::stateOfTheHost(), HOST_STATE);
   EXPECT_NE(findFunction(nullptr, "lua_newstate"), nullptr);
}

char* allocateText(void*, size_t length, void* context, quelerr_Status*)
{
   auto* const text = static_cast<std::string*>(context);
   text->assign(length, ' ');
   return text->data();
}

// It would call this interpreter with a state of the library's.
TEST_F(Host, DoesNotLendItsInterpreterToANativeModuleOfADriver)
{
   const ScratchFolder folder;
   folder.write("client.lua",
                "return {getStaticDesc = function()\n"
                "   local module, why = package.loadlib('" NATIVE_MODULE "', 'luaopen_native')\n"
                "   return module and module() or why\n"
                "end}");
   const std::string settings =
      R"({"lorvexlua_xlator":"client","lorvexlua_path":")" + folder.path() + "\"}";
   Tour tour{};
   ASSERT_TRUE(tourLoad(&tour, ZEROVAAPI_LIBRARY, false)) << tour.failure;
   const auto create = reinterpret_cast<decltype(&lorvex_exported_create)>(
      findFunction(tour.library, "lorvex_exported_create"));
   ASSERT_NE(create, nullptr);
   {
      CheckedStatus status;
      lorvex_Translator* const translator = create("dorvex_zerova", settings.c_str(), status);
      ASSERT_NE(translator, nullptr) << status.json();
      std::string text;
      translator->getStaticDesc(translator, 0, 0, allocateText, &text, status);
      EXPECT_THAT(text, testing::StartsWith("native modules are not supported"));
      translator->destroy(translator);
   }
   ASSERT_TRUE(tourUnload(&tour, ZEROVAAPI_LIBRARY)) << tour.failure;
}

#ifdef HOST_ALLOCATES_FOR_LUA

TEST_F(Host, MemoryOfItsInterpreterIsForItsOwnStatesAlone)
{
   interpreter();
   const size_t calls = allocator.calls;
   const size_t blocks = allocator.blocks.size();
   ASSERT_GT(calls, 0u);
   takeWholeTour();
   EXPECT_EQ(allocator.calls, calls);
   EXPECT_EQ(allocator.blocks.size(), blocks);
}

#endif

} // namespace
