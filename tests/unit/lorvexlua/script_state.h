// A plain interpreter for tests of what scripts see: the standard libraries, and the native modules
// that the test opens.
#ifndef TESTS_UNIT_LORVEXLUA_SCRIPT_STATE_H
#define TESTS_UNIT_LORVEXLUA_SCRIPT_STATE_H

#include <lua.hpp>

#include <string>

class ScriptState
{
public:
   ScriptState()
      : L(luaL_newstate())
   {
      luaL_openlibs(L);
   }
   ~ScriptState() { lua_close(L); }
   ScriptState(const ScriptState&) = delete;
   ScriptState& operator=(const ScriptState&) = delete;

   // Calls an opener as the translator does: by its name.
   void open(lua_CFunction opener, const char* name)
   {
      lua_pushcfunction(L, opener);
      lua_pushstring(L, name);
      lua_call(L, 1, 0);
   }

   // Runs a chunk. Returns its results as texts, separated by a blank, or "error: " and the
   // message.
   std::string run(const std::string& chunk, const char* name = "=test")
   {
      const int level = lua_gettop(L);
      std::string text;
      if (luaL_loadbuffer(L, chunk.data(), chunk.size(), name) != 0 ||
          lua_pcall(L, 0, LUA_MULTRET, 0) != 0)
         text = "error:";
      for (int index = level + 1; index <= lua_gettop(L); ++index)
         text += (text.empty() ? "" : " ") + asText(index);
      lua_settop(L, level);
      return text;
   }

   // The value of an expression.
   std::string eval(const std::string& expression) { return run("return " + expression); }

   lua_State* const L;

private:
   std::string asText(int index)
   {
      lua_getglobal(L, "tostring");
      lua_pushvalue(L, index);
      lua_call(L, 1, 1);
      size_t length = 0;
      const char* const text = lua_tolstring(L, -1, &length);
      std::string copy(text, length);
      lua_pop(L, 1);
      return copy;
   }
};

#endif
