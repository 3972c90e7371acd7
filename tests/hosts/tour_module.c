/* The tour as a native module of an interpreter that knows nothing of the library. */
#include "hosts/tour.h"

#include <lauxlib.h>
#include <lua.h>

static int take(lua_State* L)
{
   lua_pushstring(L, takeTour(luaL_checkstring(L, 1), luaL_checkstring(L, 2)));
   return 1;
}

__attribute__((visibility("default"))) int luaopen_tour_module(lua_State* L);

int luaopen_tour_module(lua_State* L)
{
   lua_pushcfunction(L, take);
   return 1;
}
