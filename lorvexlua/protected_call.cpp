#include "lorvexlua/protected_call.h"

#include <cfenv>

int lorvexlua_callProtected(lua_State* L, lua_CFunction function, void* request)
{
   std::fenv_t hosts;
   std::feholdexcept(&hosts);
   std::fesetenv(FE_DFL_ENV);
   const int failure = lua_cpcall(L, function, request);
   std::fesetenv(&hosts);
   return failure;
}

void lorvexlua_close(lua_State* L)
{
   std::fenv_t hosts;
   std::feholdexcept(&hosts);
   std::fesetenv(FE_DFL_ENV);
   lua_close(L);
   std::fesetenv(&hosts);
}
