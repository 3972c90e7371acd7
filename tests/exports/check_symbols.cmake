# Compares what the built library exports with the list, in both directions.
#    cmake -DLIBRARY=file -DLIST=exports.txt -DNM=nm -P check_symbols.cmake
execute_process(COMMAND "${NM}" -D --defined-only "${LIBRARY}" OUTPUT_VARIABLE table
   COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCHALL "[^\n]+" lines "${table}")
set(exported)
foreach(line IN LISTS lines)
   string(REGEX MATCH "^[0-9a-f]* *([A-Za-z]) ([^@]+)" matched "${line}")
   # The version node is an absolute symbol that names itself; no function is absolute.
   if(NOT CMAKE_MATCH_1 STREQUAL "A")
      list(APPEND exported "${CMAKE_MATCH_2}")
   endif()
endforeach()
file(STRINGS "${LIST}" listed)
set(extra ${exported})
list(REMOVE_ITEM extra ${listed})
set(missing ${listed})
list(REMOVE_ITEM missing ${exported})
list(LENGTH exported count)
list(LENGTH listed wanted)
if(extra OR missing OR NOT count EQUAL wanted)
   message(FATAL_ERROR "${LIBRARY} exports ${count} symbols, ${LIST} has ${wanted}.\n"
      "Not in the list: ${extra}\nNot in the library: ${missing}")
endif()
message(STATUS "${count} symbols, each in the list")
