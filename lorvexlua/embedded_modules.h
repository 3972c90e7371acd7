// The scripts that the library holds as constant data.
#ifndef LORVEXLUA_EMBEDDED_MODULES_H
#define LORVEXLUA_EMBEDDED_MODULES_H

#include <lua.hpp>

#include <cstddef>

struct EmbeddedModule
{
   const char* name;          // file name with extension
   const unsigned char* data; // source or precompiled chunk, without a terminator
   size_t size;
};

// The table that the build makes of the scripts, in the order in which they are installed: chunks of
// our own interpreter, texts where it is the system's.
extern const EmbeddedModule lorvexlua_embeddedModules[];
extern const size_t lorvexlua_embeddedModuleCount;

// Loads every module into package.preload under its name without extension; runs none. A name
// with another extension than .lua or .luac is skipped. A module that does not compile costs one
// line on standard error, and the others still arrive. Returns 0, or 1 if any did not compile, and
// leaves the stack as it was. Raises Lua errors: call it protected.
int lorvexlua_addEmbeddedModules(lua_State* L);
int lorvexlua_addModules(lua_State* L, const EmbeddedModule* modules, size_t count);

#endif
