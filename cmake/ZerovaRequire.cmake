# zerova_require(variable what packages)
#
# Ends the configuration unless the variable holds what a search found, with the command that mends it.
function(zerova_require variable what packages)
   if(NOT ${variable})
      message(FATAL_ERROR "${what} cannot be found. Install it: apt-get install ${packages}")
   endif()
endfunction()

# zerova_require_compiler()
#
# The same for the compilers, which project() searches for and misses in words of its own. Who names
# one knows what he does.
function(zerova_require_compiler)
   if(CMAKE_C_COMPILER OR CMAKE_CXX_COMPILER OR CMAKE_TOOLCHAIN_FILE OR DEFINED ENV{CC} OR DEFINED ENV{CXX})
      return()
   endif()
   find_program(c_compiler NAMES cc gcc clang NO_CACHE)
   find_program(cxx_compiler NAMES c++ g++ clang++ NO_CACHE)
   if(NOT c_compiler OR NOT cxx_compiler)
      set(found "")
   else()
      set(found TRUE)
   endif()
   zerova_require(found "A C and a C++ compiler" g++)
endfunction()
