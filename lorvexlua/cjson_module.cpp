#include "lorvexlua/codec_memory.h"
#include "lorvexlua/native_modules.h"

#include <cstring>

// The codec's package has no header of its own.
extern "C" int luaopen_cjson(lua_State* L);

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

// Raises the failure of a stock function again. The function puts the script's line in front of its
// message; called from here, it found no line.
void raiseAgain(lua_State* L, int result)
{
   if (result == 0) return;
   if (result != LUA_ERRRUN) lorvexlua_raiseOutOfMemory(L);
   if (lua_type(L, -1) == LUA_TSTRING) {
      luaL_where(L, 1);
      lua_insert(L, -2);
      lua_concat(L, 2);
   }
   lua_error(L);
}

// Each of the following replaces the stock function that is its first upvalue, and looks at the
// arguments as that function does, which would not know its own name here.

int encode(lua_State* L)
{
   luaL_argcheck(L, lua_gettop(L) == 1, 1, "expected 1 argument");
   lua_pushvalue(L, lua_upvalueindex(1));
   lua_pushvalue(L, 1);
   raiseAgain(L, lorvexlua_callCodec(L, 1, 1, kCodecReleasesBlocks));
   leaveSlashesBare(L);
   return 1;
}

int decode(lua_State* L)
{
   luaL_argcheck(L, lua_gettop(L) == 1, 1, "expected 1 argument");
   size_t length = 0;
   luaL_checklstring(L, 1, &length);
   if (length > kCodecLongestDocument) lorvexlua_raiseOutOfMemory(L);
   lua_pushvalue(L, lua_upvalueindex(1));
   lua_pushvalue(L, 1);
   raiseAgain(L, lorvexlua_callCodec(L, 1, 1, kCodecReleasesBlocks));
   return 1;
}

int keepBuffer(lua_State* L)
{
   static const char* const kSettings[] = {"off", "on", nullptr};
   luaL_argcheck(L, lua_gettop(L) <= 1, 2, "found too many arguments");
   if (!lua_isnoneornil(L, 1) && !lua_isboolean(L, 1)) luaL_checkoption(L, 1, nullptr, kSettings);
   lua_settop(L, 1);
   lua_pushvalue(L, lua_upvalueindex(1));
   lua_pushvalue(L, 1);
   const int result = lorvexlua_callCodec(L, 1, 1, kCodecKeepsBlocks);
   if (result != 0) {
      // It has noted that it keeps a buffer, and has none.
      lua_pushvalue(L, lua_upvalueindex(1));
      lua_pushboolean(L, false);
      lorvexlua_callCodec(L, 1, 0, kCodecKeepsBlocks);
   }
   raiseAgain(L, result);
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
   wrapMember(L, "decode", decode);
   wrapMember(L, "encode_keep_buffer", keepBuffer);
   wrapMember(L, "new", newCodec);
}

int newCodec(lua_State* L)
{
   lua_pushvalue(L, lua_upvalueindex(1));
   raiseAgain(L, lorvexlua_callCodec(L, 0, 1, kCodecKeepsBlocks));
   wrapCodec(L);
   return 1;
}

} // namespace

int lorvexlua_openCjson(lua_State* L)
{
   lorvexlua_keepCodecBlocks(L);
   lua_pushcfunction(L, luaopen_cjson);
   raiseAgain(L, lorvexlua_callCodec(L, 0, 1, kCodecKeepsBlocks));
   wrapCodec(L);
   lua_pushvalue(L, -1);
   lua_setglobal(L, "cjson");
   return 1;
}
