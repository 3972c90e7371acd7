#include "lorvexlua/codec_memory.h"
#include "lorvexlua/native_modules.h"

namespace {

// Its address stands in package.loaded for a module that is being loaded.
char loadingMark = 0;

bool isMark(lua_State* L, int index)
{
   return lua_touserdata(L, index) == &loadingMark;
}

// Leaves the function on top of the stack that the first loader has for the module.
void findModule(lua_State* L, const char* name)
{
   lua_getfield(L, LUA_ENVIRONINDEX, "loaders");
   if (!lua_istable(L, -1)) luaL_error(L, LUA_QL("package.loaders") " must be a table");
   lua_pushliteral(L, ""); // collects where the module is not
   for (int i = 1;; ++i) {
      lua_rawgeti(L, -2, i);
      if (lua_isnil(L, -1))
         luaL_error(L, "module " LUA_QS " not found:%s", name, lua_tostring(L, -2));
      lua_pushstring(L, name);
      lua_call(L, 1, 1);
      if (lua_isfunction(L, -1)) return;
      if (lua_isstring(L, -1))
         lua_concat(L, 2);
      else
         lua_pop(L, 1);
   }
}

// Raises the error value on top of the stack. Lack of memory must reach the caller as such.
int raiseAgain(lua_State* L, int failure)
{
   if (failure == LUA_ERRMEM) lorvexlua_raiseOutOfMemory(L);
   return lua_error(L);
}

// As the interpreter has it, but that a module which fails while it runs leaves no entry in
// package.loaded: the interpreter's own leaves its mark, and refuses the module ever after.
int require(lua_State* L)
{
   const char* const name = luaL_checkstring(L, 1);
   lua_settop(L, 1);
   lua_getfield(L, LUA_REGISTRYINDEX, "_LOADED");
   lua_getfield(L, 2, name);
   if (isMark(L, -1)) luaL_error(L, "loop or previous error loading module " LUA_QS, name);
   if (lua_toboolean(L, -1)) return 1;

   findModule(L, name);
   lua_pushlightuserdata(L, &loadingMark);
   lua_setfield(L, 2, name);
   lua_pushstring(L, name);
   const int failure = lua_pcall(L, 1, 1, 0);
   if (failure != 0) {
      lua_pushnil(L);
      lua_setfield(L, 2, name);
      return raiseAgain(L, failure);
   }
   if (!lua_isnil(L, -1)) lua_setfield(L, 2, name);
   lua_getfield(L, 2, name);
   if (isMark(L, -1)) { // the module entered no value: true stands for it
      lua_pushboolean(L, 1);
      lua_pushvalue(L, -1);
      lua_setfield(L, 2, name);
   }
   return 1;
}

} // namespace

int lorvexlua_openPackage(lua_State* L)
{
   lua_pushcfunction(L, luaopen_package);
   lua_pushliteral(L, LUA_LOADLIBNAME);
   lua_call(L, 1, 1);
   lua_pushcfunction(L, require);
   lua_pushvalue(L, -2);
   lua_setfenv(L, -2); // where it finds the loaders
   lua_setglobal(L, "require");
   return 1;
}
