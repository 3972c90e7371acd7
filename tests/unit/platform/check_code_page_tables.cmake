# Looks where the built library keeps the tables of the double-byte pages, and how large they are. What is
# to be filled or relocated when the library is loaded would stand in a section that can be written.
#    cmake -DLIBRARY=file -DNM=nm -P check_code_page_tables.cmake
set(most 204800)
execute_process(COMMAND "${NM}" -S --defined-only "${LIBRARY}" OUTPUT_VARIABLE symbols
   COMMAND_ERROR_IS_FATAL ANY)
set(total 0)
foreach(page 932 949 936)
   if(NOT symbols MATCHES "[0-9a-f]+ ([0-9a-f]+) ([A-Za-z]) [A-Za-z0-9_]*kTable${page}E\n")
      message(FATAL_ERROR "${LIBRARY} has no table of code page ${page} with a name and a size")
   endif()
   set(size ${CMAKE_MATCH_1})
   if(NOT CMAKE_MATCH_2 MATCHES "^[rR]$")
      message(FATAL_ERROR "The table of code page ${page} is not read-only data: nm tells ${CMAKE_MATCH_2}")
   endif()
   math(EXPR total "${total} + 0x${size}")
endforeach()
if(total EQUAL 0 OR total GREATER most)
   message(FATAL_ERROR "The tables have ${total} bytes; at most ${most} are allowed")
endif()
message(STATUS "${total} bytes of read-only data")
