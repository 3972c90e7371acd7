#include "lorvexlua/native_modules.h"

#include <cstring>

extern "C" {
#include <lua-cjson.h>
}

namespace {

int newCodec(lua_State* L);

// The stock encoder writes every forward slash as a backslash and a slash, and a slash occurs
// nowhere else in its output, so each slash is preceded by exactly the backslash that must go.
void leaveSlashesBare(lua_State* L)
{
   size_t length = 0;
   const char* read = lua_tolstring(L, -1, &length);
   const char* const end = read + length;
   const char* slash = static_cast<const char*>(std::memchr(read, '/', length));
   if (!slash) return;
   char* const bare = static_cast<char*>(lua_newuserdata(L, length));
   char* write = bare;
   do {
      const auto kept = static_cast<size_t>(slash - 1 - read);
      std::memcpy(write, read, kept);
      write += kept;
      *write++ = '/';
      read = slash + 1;
      slash = static_cast<const char*>(std::memchr(read, '/', static_cast<size_t>(end - read)));
   } while (slash);
   const auto rest = static_cast<size_t>(end - read);
   std::memcpy(write, read, rest);
   write += rest;
   lua_pushlstring(L, bare, static_cast<size_t>(write - bare));
}

// Replaces the stock function that is the first upvalue.
int encode(lua_State* L)
{
   luaL_argcheck(L, lua_gettop(L) == 1, 1, "expected 1 argument");
   lua_pushvalue(L, lua_upvalueindex(1));
   lua_pushvalue(L, 1);
   const int result = lua_pcall(L, 1, 1, 0);
   if (result == LUA_ERRRUN && lua_type(L, -1) == LUA_TSTRING) {
      // The stock function puts the script's line in front of its message; called from here, it
      // found no line.
      luaL_where(L, 1);
      lua_insert(L, -2);
      lua_concat(L, 2);
   }
   if (result == LUA_ERRRUN) return lua_error(L);
   if (result != 0) {
      // Out of memory must reach the caller as such, which lua_error cannot do: let it happen
      // again.
      lua_settop(L, 1);
      lua_pushvalue(L, lua_upvalueindex(1));
      lua_insert(L, 1);
      lua_call(L, 1, 1);
   }
   leaveSlashesBare(L);
   return 1;
}

// In the codec table on top of the stack, puts function over the stock member, which it wraps.
void wrapMember(lua_State* L, const char* name, lua_CFunction function)
{
   lua_getfield(L, -1, name);
   lua_pushcclosure(L, function, 1);
   lua_setfield(L, -2, name);
}

void wrapCodec(lua_State* L)
{
   wrapMember(L, "encode", encode);
   wrapMember(L, "new", newCodec);
}

int newCodec(lua_State* L)
{
   lua_pushvalue(L, lua_upvalueindex(1));
   lua_call(L, 0, 1);
   wrapCodec(L);
   return 1;
}

} // namespace

int lorvexlua_openCjson(lua_State* L)
{
   lua_pushcfunction(L, luaopen_cjson);
   lua_call(L, 0, 1);
   wrapCodec(L);
   lua_pushvalue(L, -1);
   lua_setglobal(L, "cjson");
   return 1;
}
