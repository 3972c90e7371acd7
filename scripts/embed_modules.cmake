# Turns scripts, as texts or compiled, into constant data: cmake -DOUTPUT=FILE "-DMODULES=a.lua;b.lua" -P embed_modules.cmake
# The rows of the table stand in the order of MODULES.

set(arrays "")
set(rows "")
set(index 0)
foreach(path IN LISTS MODULES)
   cmake_path(GET path FILENAME name)
   file(READ "${path}" bytes HEX)
   if(bytes STREQUAL "")
      message(FATAL_ERROR "${path} is empty")
   endif()
   string(REGEX REPLACE "(................................)" "\\1\n" bytes "${bytes}")
   string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${bytes}")
   string(APPEND arrays "const unsigned char kScript${index}[] = {\n${bytes}};\n")
   string(APPEND rows "   {\"${name}\", kScript${index}, sizeof kScript${index}},\n")
   math(EXPR index "${index} + 1")
endforeach()

file(WRITE "${OUTPUT}.new" "// Made by scripts/embed_modules.cmake.
#include \"lorvexlua/embedded_modules.h\"

namespace {
${arrays}} // namespace

const EmbeddedModule lorvexlua_embeddedModules[] = {
${rows}};
const size_t lorvexlua_embeddedModuleCount = ${index};
")
file(RENAME "${OUTPUT}.new" "${OUTPUT}")
