// What a host cannot see of a translator: its state, its contents, its memory.
#include "lorvexlua/lorvexlua.h"

#include "support/failing_malloc.h"
#include "support/owned.h"

#include "support/matches_pattern.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

namespace {

using testing::HasSubstr;

constexpr const char* kClient = R"({"lorvexlua_xlator":"client"})";

// Everything but the codec: it ends the process when it gets no memory for its buffer.
std::vector<lorvexlua_Library> librariesWithoutCodec()
{
   std::vector<lorvexlua_Library> libraries;
   for (size_t i = 0; i < lorvexlua_libraryCount; ++i)
      if (std::string_view(lorvexlua_libraries[i].name) != "cjson")
         libraries.push_back(lorvexlua_libraries[i]);
   return libraries;
}

class Translator : public testing::Test
{
protected:
   Translator()
      : libraries(lorvexlua_libraries, lorvexlua_libraries + lorvexlua_libraryCount)
      , modules(lorvexlua_embeddedModules,
                lorvexlua_embeddedModules + lorvexlua_embeddedModuleCount)
   {
      block.reserve(200000); // so that the host's own allocations do not fail
   }
   ~Translator() override { destroy(); }

   void destroy()
   {
      if (translator) translator->destroy(translator);
      translator = nullptr;
   }

   // Adds a module to the embedded ones. The text must outlive the test.
   void addModule(const char* name, const char* text)
   {
      modules.push_back(
         {name, reinterpret_cast<const unsigned char*>(text), std::string_view(text).size()});
   }

   void create(const char* registration, quelerr_Status* outcome)
   {
      translator = lorvexlua_createTranslatorWith(
         {libraries.data(), libraries.size(), modules.data(), modules.size()}, "dorvex_zerova",
         registration, outcome);
   }

   lua_State* state() const { return reinterpret_cast<lorvexlua_Translator*>(translator)->state; }

   static char* allocate(void*, size_t length, void* context, quelerr_Status*)
   {
      auto* const block = static_cast<std::string*>(context);
      block->assign(length, '\0');
      return block->data();
   }

   static char* refuse(void*, size_t, void*, quelerr_Status* refusal)
   {
      refusal->code = -52000;
      return nullptr;
   }

   std::vector<lorvexlua_Library> libraries;
   std::vector<EmbeddedModule> modules;
   std::string block;
   OwnedStatus status;
   lorvex_Translator* translator = nullptr;
};

TEST_F(Translator, HeaderSizeIsThatOfTheInterface)
{
   EXPECT_EQ(sizeof(lorvex_Translator), 32u);
   create(R"({"lorvexlua_xlator":"dorvex"})", &status);
   ASSERT_TRUE(translator) << status.text();
   EXPECT_EQ(translator->structSize, 32u);
}

TEST_F(Translator, StackIsLevelAfterEveryCall)
{
   addModule("client.lua", R"(
      local function run(first) return loadstring(tostring(first))() end
      return {getDynamicDesc = run, getStaticDesc = function(code)
         if code == 1 then error('x') end
         if code == 2 then return {} end
         if code == 3 then lorvexlua_errHandler = nil end
         return 'text' end})");
   create(kClient, &status);
   ASSERT_TRUE(translator) << status.text();
   EXPECT_EQ(lua_gettop(state()), 0);
   for (const uint32_t code : {0u, 1u, 2u, 3u, 1u, 0u})
      for (const lorvex_AllocString allocString : {allocate, refuse}) {
         OwnedStatus outcome;
         translator->getStaticDesc(translator, code, 0, allocString, &block, &outcome);
         EXPECT_EQ(lua_gettop(state()), 0) << code;
      }
   for (const char* script : {"return 'x'", "return 1", "return 0", "error('x')", "error({})", "?"})
      for (const lorvex_AllocString allocString : {allocate, refuse}) {
         OwnedStatus outcome;
         translator->getDynamicDesc(translator, script, 0, nullptr, allocString, &block, &outcome);
         EXPECT_EQ(lua_gettop(state()), 0) << script;
      }
   OwnedStatus holdsError(-1);
   translator->getDynamicDesc(translator, "", 0, nullptr, allocate, &block, &holdsError);
   translator->getStaticDesc(translator, 1, 0, allocate, &block, &holdsError);
   EXPECT_EQ(lua_gettop(state()), 0);
}

TEST_F(Translator, LibrariesStandInTheirOrder)
{
   std::vector<std::string> names;
   for (const auto& library : libraries)
      names.emplace_back(library.name);
   EXPECT_THAT(names, testing::ElementsAre("", "package", "table", "io", "os", "string", "math",
                                           "debug", "lfs", "stdint", "cjson", "lorvexluautils"));
}

TEST_F(Translator, OpenerIsCalledWithItsName)
{
   libraries.push_back({"probe", [](lua_State* L) {
                           lua_pushboolean(L, lua_gettop(L) == 1 &&
                                                 std::string_view(lua_tostring(L, 1)) == "probe");
                           lua_setglobal(L, "probed");
                           return 0;
                        }});
   create(R"({"lorvexlua_xlator":"dorvex"})", &status);
   ASSERT_TRUE(translator) << status.text();
   lua_getglobal(state(), "probed");
   EXPECT_TRUE(lua_toboolean(state(), -1));
   lua_pop(state(), 1);
}

TEST_F(Translator, LibraryThatFailsEndsConstructionAndIsNamed)
{
   libraries.insert(libraries.begin() + 3,
                    {"broken", [](lua_State* L) { return luaL_error(L, "no such thing"); }});
   libraries.insert(libraries.begin() + 4, {"never", [](lua_State*) -> int { std::abort(); }});
   create(kClient, &status);
   EXPECT_FALSE(translator);
   EXPECT_EQ(status.code, -52003);
   EXPECT_THAT(
      status.text(),
      MatchesPattern(R"re(\{"error_constant":"tamrixerr_softwareFaultTAMRIXInternalUseOnly",)re"
                     R"re("file":"lorvexlua/lorvexlua","line":[0-9]+,"component":"zerovaapi",)re"
                     R"re("internal_error":\{"api":"lua","code":2,"string":"no such thing"\},)re"
                     R"re("lorvexlua_debug":\{"debug":"failed to load lua lib",)re"
                     R"re("lib":"broken"\}\})re"));
}

TEST_F(Translator, BaseLibraryThatFailsIsNamedByTheEmptyName)
{
   libraries[0].opener = [](lua_State* L) { return luaL_error(L, "x"); };
   create(kClient, &status);
   EXPECT_THAT(status.text(), HasSubstr(R"("debug":"failed to load lua lib","lib":"")"));
}

TEST_F(Translator, ModuleThatDoesNotCompileFailsCreation)
{
   addModule("broken.lua", "return =");
   testing::internal::CaptureStderr();
   create(R"({"lorvexlua_xlator":"dorvex"})", &status);
   EXPECT_EQ(
      testing::internal::GetCapturedStderr(),
      "ERROR: Failed to load \"broken.lua\": [string \"broken.lua\"]:1: unexpected symbol near "
      "'='\n");
   EXPECT_FALSE(translator);
   EXPECT_EQ(status.code, -52003);
   EXPECT_THAT(
      status.text(),
      MatchesPattern(R"re(\{"error_constant":"tamrixerr_softwareFaultTAMRIXInternalUseOnly",)re"
                     R"re("file":"lorvexlua/lorvexlua","line":[0-9]+,"component":"zerovaapi",)re"
                     R"re("internal_error":\{"api":"lua","code":1\},"lorvexlua_debug":)re"
                     R"re(\{"debug":"failed to add embedded modules to preload table"\}\})re"));
}

TEST_F(Translator, ModuleOfAnotherExtensionIsNoFailure)
{
   addModule("notes.txt", "not Lua");
   create(R"({"lorvexlua_xlator":"dorvex"})", &status);
   EXPECT_TRUE(translator) << status.text();
}

TEST_F(Translator, LaterModuleReplacesAnEarlierOfItsName)
{
   addModule("dorvex.lua", "return {getStaticDesc = function() return 'mine' end}");
   create(R"({"lorvexlua_xlator":"dorvex"})", &status);
   ASSERT_TRUE(translator) << status.text();
   EXPECT_STREQ(translator->getStaticDesc(translator, 0, 0, allocate, &block, &status), "mine");
}

TEST_F(Translator, PrecompiledModuleRuns)
{
   std::string chunk;
   lua_State* const compiler = luaL_newstate();
   ASSERT_EQ(luaL_loadstring(compiler, "return {getStaticDesc = function() return 'binary' end}"),
             0);
   const auto append = [](lua_State*, const void* piece, size_t size, void* text) {
      static_cast<std::string*>(text)->append(static_cast<const char*>(piece), size);
      return 0;
   };
   lua_dump(compiler, append, &chunk);
   lua_close(compiler);
   modules.push_back(
      {"client.luac", reinterpret_cast<const unsigned char*>(chunk.data()), chunk.size()});
   create(kClient, &status);
   ASSERT_TRUE(translator) << status.text();
   EXPECT_STREQ(translator->getStaticDesc(translator, 0, 0, allocate, &block, &status), "binary");
}

TEST_F(Translator, WithoutMemoryForTheObjectTheResultIsNullAndTheStatusUntouched)
{
   {
      FailingMalloc failing(0);
      create(R"({"lorvexlua_xlator":"dorvex"})", &status);
   }
   EXPECT_FALSE(translator);
   EXPECT_EQ(status.code, 0);
   EXPECT_FALSE(status.json);
}

TEST_F(Translator, WithoutMemoryForTheStateItIsTold)
{
   {
      FailingMalloc failing(1);
      create(R"({"lorvexlua_xlator":"dorvex"})", &status);
   }
   EXPECT_FALSE(translator);
   EXPECT_EQ(status.code, -52000);
   EXPECT_THAT(status.text(), MatchesPattern(R"re(\{"error_constant":"tamrixerr_memoryFull",)re"
                                             R"re("file":"lorvexlua/lorvexlua","line":[0-9]+,)re"
                                             R"re("component":"zerovaapi","lorvexlua_debug":)re"
                                             R"re(\{"debug":"failed to create lua state"\}\})re"));
}

// Each of the first allocations, then a selection: there are thousands, and each costs a creation.
TEST_F(Translator, AnyAllocationOfACreationMayFail)
{
   libraries = librariesWithoutCodec();
   modules.erase(modules.begin() + 1, modules.begin() + 8); // the long ones
   addModule("client.lua", "return {}");
   size_t failures = 0;
   testing::internal::CaptureStderr();
   for (size_t index = 0;; index += index < 60 ? 1 : 7) {
      OwnedStatus outcome;
      bool hasFailed = false;
      {
         FailingMalloc failing(index);
         create(kClient, &outcome);
         hasFailed = failing.hasFailed();
      }
      if (!hasFailed) {
         EXPECT_TRUE(translator) << outcome.text();
         break;
      }
      // A description may be cut short, but the object is never half made. The interpreter comes
      // through a lack of memory where it can do without.
      EXPECT_EQ(translator == nullptr, index == 0 || outcome.code < 0) << index;
      failures += translator ? 0 : 1;
      destroy();
   }
   testing::internal::GetCapturedStderr(); // the lines of modules that found no memory
   EXPECT_GT(failures, 60u);
}

TEST_F(Translator, LackOfMemoryInAScriptIsCodeFour)
{
   addModule("client.lua", R"(
      local function fill() local list = {} while true do list = {list} end end
      return {getStaticDesc = fill, getDynamicDesc = fill})");
   create(kClient, &status);
   ASSERT_TRUE(translator) << status.text();
   status.resize(&status, 65536); // the report finds its memory there already
   {
      FailingMalloc failing(2000, FailingMalloc::Then::failAlways);
      EXPECT_FALSE(
         translator->getDynamicDesc(translator, "{}", 0, "json1", allocate, &block, &status));
   }
   EXPECT_EQ(status.code, -52003);
   EXPECT_THAT(status.text(), HasSubstr(R"("internal_error":{"api":"lua","code":4,)"
                                        R"("string":"not enough memory"})"));
   EXPECT_EQ(lua_gettop(state()), 0);
}

TEST_F(Translator, LackOfMemoryInAClientsFirstRunIsCodeFour)
{
   addModule("client.lua", R"(
      local list = {} while true do list = {list} end)");
   status.resize(&status, 65536);
   {
      FailingMalloc failing(20000, FailingMalloc::Then::failAlways);
      create(kClient, &status);
   }
   EXPECT_FALSE(translator);
   EXPECT_THAT(status.text(), HasSubstr(R"("code":4,"string":"not enough memory"})"));
}

TEST_F(Translator, ModuleThatRanOutOfMemoryIsTriedAgainWhereverItIsRequired)
{
   addModule("outer.lua", "return 'outer ' .. require('inner')");
   addModule("inner.lua", R"(
      tries = (tries or 0) + 1
      local list = {} while tries == 1 do list = {list} end
      return 'inner')");
   addModule("client.lua", "return {getStaticDesc = function() return require('outer') end}");
   create(kClient, &status);
   ASSERT_TRUE(translator) << status.text();
   status.resize(&status, 65536); // the report finds its memory there already
   {
      FailingMalloc failing(2000, FailingMalloc::Then::failAlways);
      EXPECT_FALSE(translator->getStaticDesc(translator, 0, 0, allocate, &block, &status));
   }
   EXPECT_THAT(status.text(), HasSubstr(R"("code":4,"string":"not enough memory"})"));
   OwnedStatus next;
   EXPECT_STREQ(translator->getStaticDesc(translator, 0, 0, allocate, &block, &next),
                "outer inner");
}

TEST_F(Translator, ObjectIsUsableAfterALackOfMemory)
{
   addModule("client.lua", R"(
      return {getStaticDesc = function(code)
         if code == 1 then return string.rep('x', 100000) end
         return 'fine' end})");
   create(kClient, &status);
   ASSERT_TRUE(translator) << status.text();
   const size_t count = forEachFailingAllocation(
      FailingMalloc::Then::succeed,
      [&](size_t) {
         status.code = 0;
         translator->getStaticDesc(translator, 1, 0, allocate, &block, &status);
      },
      [&](size_t index) {
         status.code = 0;
         EXPECT_STREQ(translator->getStaticDesc(translator, 0, 0, allocate, &block, &status),
                      "fine")
            << index;
      });
   EXPECT_GT(count, 0u);
}

TEST_F(Translator, ExceptionOfTheHostPassesAndLeavesNothing)
{
   struct Refused
   {
   };
   status.resize = [](quelerr_Status*, uint32_t capacity) -> bool {
      if (capacity > 0) throw Refused();
      return true;
   };
   EXPECT_THROW(create("{}", &status), Refused);
   EXPECT_EQ(status.code, -52003);
}

} // namespace
