#ifndef LORVEXLUA_CHECK_USERDATA_H
#define LORVEXLUA_CHECK_USERDATA_H

#include <lua.hpp>

#include <cstddef>

// luaL_checkudata for a type whose values have size bytes. A script can give the type's metatable to
// values of its own, through the debug library; a light or a smaller one is refused as any other.
inline void* lorvexlua_checkUserdata(lua_State* L, int index, const char* type, size_t size)
{
   void* const value = luaL_checkudata(L, index, type);
   if (lua_islightuserdata(L, index) || lua_objlen(L, index) < size) luaL_typerror(L, index, type);
   return value;
}

#endif
