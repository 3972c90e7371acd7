#include "lorvexlua/protected_call.h"

#include "platform/floating_point.h"

int lorvexlua_callProtected(lua_State* L, lua_CFunction function, void* request)
{
   platform::FloatingPointEnvironment hosts;
   platform::useUsualFloatingPoint(hosts);
   const int failure = lua_cpcall(L, function, request);
   platform::restoreFloatingPoint(hosts);
   return failure;
}

void lorvexlua_close(lua_State* L)
{
   platform::FloatingPointEnvironment hosts;
   platform::useUsualFloatingPoint(hosts);
   lua_close(L);
   platform::restoreFloatingPoint(hosts);
}
