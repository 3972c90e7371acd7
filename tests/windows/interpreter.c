/* Stands in for a DLL of an interpreter that is not the library's. To be called with a state of the
 * library's would be the end of the process. */
#include <stdlib.h>

struct lua_State;

__declspec(dllexport) int lua_gettop(struct lua_State* L);
__declspec(dllexport) void lua_pushstring(struct lua_State* L, const char* text);

int lua_gettop(struct lua_State* L)
{
   (void)L;
   abort();
}

void lua_pushstring(struct lua_State* L, const char* text)
{
   (void)L;
   (void)text;
   abort();
}
