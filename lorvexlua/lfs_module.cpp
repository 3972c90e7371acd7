#include "lorvexlua/native_modules.h"

// Its own header would export it from the library on some systems.
extern "C" int luaopen_lfs(lua_State* L);

int lorvexlua_openLfs(lua_State* L)
{
   lua_pushcfunction(L, luaopen_lfs);
   lua_pushliteral(L, "lfs");
   lua_call(L, 1, 1);
   lua_getfield(L, LUA_REGISTRYINDEX, "_LOADED");
   lua_pushvalue(L, -2);
   lua_setfield(L, -2, "lfs");
   lua_pop(L, 1);
   return 1;
}
