/* A native module of a driver, which takes the interpreter's functions from whoever loads it. */
#include <lua.h>

int luaopen_native(lua_State* L);

int luaopen_native(lua_State* L)
{
   lua_pushstring(L, "called");
   return 1;
}
