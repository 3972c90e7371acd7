// The two ways into the scripts of a state. Both keep the host's floating-point environment out:
// its traps would end the process, and its rounding would change numbers and their texts. Inside it
// is the default one, and the host's own is back when they return, so no callback of the host may be
// called from inside. Neither may be left by an exception.
#ifndef LORVEXLUA_PROTECTED_CALL_H
#define LORVEXLUA_PROTECTED_CALL_H

#include <lua.hpp>

// lua_cpcall: 0, or the kind of failure, with the error value on top of the stack.
int lorvexlua_callProtected(lua_State* L, lua_CFunction function, void* request);

// lua_close, which runs what scripts have left to be run at the end.
void lorvexlua_close(lua_State* L);

#endif
