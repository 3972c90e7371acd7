// Tells the fuzzer which lines of scripts have run: no compiler has instrumented them.
#ifndef FUZZ_SCRIPT_COVERAGE_H
#define FUZZ_SCRIPT_COVERAGE_H

#include <lua.hpp>

// Counts, from here on, the steps from line to line in a state.
void coverScripts(lua_State* L);

#endif
