// The native modules that every translator state opens beside the libraries of the interpreter.
//
// Each is an opener in Lua's sense: called with the module's name, it leaves the module where
// scripts find it and returns the table. Lua is compiled as C, so its errors are longjmp: no
// function of these modules has an object with a destructor in a frame that an error can leave.
#ifndef LORVEXLUA_NATIVE_MODULES_H
#define LORVEXLUA_NATIVE_MODULES_H

#include <lua.hpp>

// The package library with a require of ours: a module that failed while it ran is tried again when
// it is next required.
int lorvexlua_openPackage(lua_State* L);

// LuaFileSystem, which by itself leaves its global alone: require("lfs") finds it, too.
int lorvexlua_openLfs(lua_State* L);

// 64-bit integers: global and package.loaded entry "stdint".
int lorvexlua_openStdint(lua_State* L);

// lua-cjson with an encoder that leaves a forward slash as it stands. Leaves the global "cjson" and
// no entry in package.loaded: scripts reach it as a global, and require("cjson") fails.
int lorvexlua_openCjson(lua_State* L);

// What scripts need of the framework: global and package.loaded entry "lorvexluautils".
int lorvexlua_openLorvexluautils(lua_State* L);

#endif
