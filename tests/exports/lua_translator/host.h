// A host of the translator, as a program outside the library would be one: it sees the public
// headers and the built library alone.
#ifndef TESTS_EXPORTS_LUA_TRANSLATOR_HOST_H
#define TESTS_EXPORTS_LUA_TRANSLATOR_HOST_H

#include "lorvex_translator.h"
#include "support/scratch_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <lua.hpp>

#include <cstdlib>
#include <optional>
#include <string>

extern "C" int luaopen_cjson(lua_State* L);

// A JSON text that a test asks about with expressions of Lua, in which the decoded text is called
// v.
class Json
{
public:
   explicit Json(const std::string& text)
      : L(luaL_newstate())
   {
      luaL_openlibs(L);
      luaopen_cjson(L);
      lua_getfield(L, -1, "decode");
      lua_pushlstring(L, text.data(), text.size());
      if (lua_pcall(L, 1, 1, 0) != 0) ADD_FAILURE() << lua_tostring(L, -1) << " in: " << text;
      lua_setglobal(L, "v");
   }
   ~Json() { lua_close(L); }
   Json(const Json&) = delete;
   Json& operator=(const Json&) = delete;

   std::string operator()(const std::string& expression)
   {
      if (luaL_dostring(L, ("return tostring(" + expression + ")").c_str()) != 0)
         ADD_FAILURE() << lua_tostring(L, -1);
      size_t length = 0;
      const char* const text = lua_tolstring(L, -1, &length);
      std::string result(text, length);
      lua_settop(L, 0);
      return result;
   }

private:
   lua_State* const L;
};

struct HostStatus : quelerr_Status
{
   explicit HostStatus(int32_t heldCode = 0)
   {
      quelerr_heapStatus_init(this);
      code = heldCode;
   }
   HostStatus(const HostStatus&) = delete;
   HostStatus& operator=(const HostStatus&) = delete;
   ~HostStatus() { quelerr_heapStatus_release(this); }

   std::string text() const { return json ? json : ""; }
   std::string operator()(const std::string& expression) const { return Json(text())(expression); }
};

// Takes the place of the host's memory, and remembers what was asked of it.
struct HostMemory
{
   size_t calls = 0;
   size_t length = 0;
   void* firstArgument = nullptr;
   int32_t errorToReport = 0;
   bool returnsNull = false;

   static char* QUELERR_CALL allocate(void* nullBlock, size_t length, void* context,
                                      quelerr_Status* status)
   {
      auto* const self = static_cast<HostMemory*>(context);
      ++self->calls;
      self->length = length;
      self->firstArgument = nullBlock;
      if (self->errorToReport != 0) status->code = self->errorToReport;
      if (self->returnsNull) return nullptr;
      self->block.assign(length, '\xAA');
      return self->block.data();
   }

   std::string block;
};

class TranslatorHost : public testing::Test
{
protected:
   ~TranslatorHost() override { destroy(); }

   void destroy()
   {
      if (translator) translator->destroy(translator);
      translator = nullptr;
   }

   void create(const std::string& registration)
   {
      destroy();
      translator = lorvex_exported_create("dorvex_zerova", registration.c_str(), &status);
   }

   // A translator with the client module of a test, which stands in a file of its own, and a clean
   // status.
   void createWithClient(const std::string& moduleText, const std::string& settings = "{}")
   {
      folder.write("client.lua", moduleText);
      status.code = 0;
      create(R"({"lorvexlua_xlator":"client","lorvexlua_path":")" + folder.path() +
             R"(","lorvexlua_settings":)" + settings + "}");
      ASSERT_TRUE(translator) << status.text();
   }

   // The texts of the descriptions; nothing for null.
   std::optional<std::string> staticDesc(int32_t code, uint32_t langAndAde = 0)
   {
      const char* const text =
         translator->getStaticDesc(translator, static_cast<uint32_t>(code), langAndAde,
                                   HostMemory::allocate, &memory, &status);
      return text ? std::optional<std::string>(text) : std::nullopt;
   }

   std::optional<std::string> dynamicDesc(const char* errJson, uint32_t langAndAde = 0,
                                          const char* format = "json1")
   {
      const char* const text = translator->getDynamicDesc(translator, errJson, langAndAde, format,
                                                          HostMemory::allocate, &memory, &status);
      return text ? std::optional<std::string>(text) : std::nullopt;
   }

   ScratchFolder folder;
   HostStatus status;
   HostMemory memory;
   lorvex_Translator* translator = nullptr;
};

#endif
