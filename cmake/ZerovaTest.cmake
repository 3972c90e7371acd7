if(WIN32)
   # The package has libraries for the building machine's own system alone, and the sources.
   find_path(GOOGLETEST_SOURCES googletest/src/gtest-all.cc REQUIRED NO_CMAKE_FIND_ROOT_PATH PATHS /usr/src/googletest
      DOC "Folder of the sources of GoogleTest")
   set(INSTALL_GTEST OFF)
   add_subdirectory("${GOOGLETEST_SOURCES}" googletest EXCLUDE_FROM_ALL SYSTEM)
   # Starts the program that stands behind it.
   find_program(WINE NAMES wine64 PATHS /usr/lib/wine REQUIRED DOC "Runs programs of Windows")
   find_program(WINESERVER NAMES wineserver PATHS /usr/lib/wine REQUIRED DOC "Serves what WINE runs")
   set(CMAKE_CROSSCOMPILING_EMULATOR "${CMAKE_BINARY_DIR}/run_in_wine")
   configure_file(cmake/wine.in "${CMAKE_CROSSCOMPILING_EMULATOR}" @ONLY
      FILE_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE)
else()
   find_package(GTest REQUIRED)
   include(GoogleTest)
endif()

include("${CMAKE_CURRENT_LIST_DIR}/ZerovaOneSystem.cmake")

# Tests are compiled far more often than they run: no optimisation, and of the debug information what
# a stack trace needs.
set(test_options -O0 -g1)

# What nearly every test includes, compiled once for all of them, as part of a program. The preset
# "check" goes without, so that no file gets by with what it does not name.
add_library(zerova_test_headers OBJECT tests/support/test_headers.cpp)
set_target_properties(zerova_test_headers PROPERTIES POSITION_INDEPENDENT_CODE OFF)
target_compile_options(zerova_test_headers PRIVATE $<$<NOT:$<BOOL:${WIN32}>>:-fPIE> ${test_options})
target_link_libraries(zerova_test_headers PRIVATE zerova_flags zerova_system GTest::gmock)
target_precompile_headers(zerova_test_headers PRIVATE
   "$<$<COMPILE_LANGUAGE:CXX>:${CMAKE_SOURCE_DIR}/tests/support/test_headers.h>")

# zerova_add_test(name [EXPORTS | LOADS_LIBRARY] [LOCAL_ENDPOINT | REGISTRY]
#    SOURCES a.cpp... [REPLACES source...] [LIBRARIES lib...])
#
# One test program, each of its tests known to CTest by its own name (on Windows, the program alone).
# EXPORTS: link the built shared library and nothing of its inside; otherwise link the objects.
# REPLACES: of the objects, link all but those of these sources.
# LOADS_LIBRARY: link nothing of ours; the program loads the library at ZEROVAAPI_LIBRARY itself.
# LOCAL_ENDPOINT: the tests bind the service's local endpoints, of which the build has one set, so
# they take turns.
# REGISTRY: the same for tests that write into the build's settings tree.
# What tests/one_system.txt gives to the other system is left out. If that is all, there is no program,
# so ask if(TARGET name) before more is said of one that this can happen to.
function(zerova_add_test name)
   cmake_parse_arguments(ARG "EXPORTS;LOADS_LIBRARY;LOCAL_ENDPOINT;REGISTRY" ""
      "SOURCES;REPLACES;LIBRARIES" ${ARGN})
   zerova_keep_for_this_system(${name} ARG_SOURCES)
   if(NOT ARG_SOURCES)
      return()
   endif()
   get_property(not_run GLOBAL PROPERTY not_run_here_${name})
   if(not_run)
      list(JOIN not_run ":" not_run)
      set(not_run "-${not_run}")
   endif()
   add_executable(${name} ${ARG_SOURCES})
   target_link_libraries(${name} PRIVATE
      zerova_flags zerova_folders zerova_system ${ARG_LIBRARIES} zerova_test_system GTest::gmock
      GTest::gtest_main)
   if(ARG_EXPORTS)
      target_link_libraries(${name} PRIVATE zerovaapi)
   elseif(ARG_LOADS_LIBRARY)
      add_dependencies(${name} zerovaapi)
      target_compile_definitions(${name} PRIVATE ZEROVAAPI_LIBRARY="$<TARGET_FILE:zerovaapi>")
      target_include_directories(${name} PRIVATE "${CMAKE_SOURCE_DIR}/include")
      target_link_libraries(${name} PRIVATE ${CMAKE_DL_LIBS})
   else()
      zerova_link_objects(${name} REPLACES ${ARG_REPLACES})
   endif()
   target_include_directories(${name} PRIVATE "${CMAKE_SOURCE_DIR}/tests")
   target_compile_options(${name} PRIVATE ${test_options})
   set(in_c ${ARG_SOURCES})
   list(FILTER in_c INCLUDE REGEX "[.]c$")
   set_property(SOURCE ${in_c} PROPERTY SKIP_PRECOMPILE_HEADERS ON)
   target_precompile_headers(${name} REUSE_FROM zerova_test_headers)
   set(properties TIMEOUT 120)
   if(ARG_LOCAL_ENDPOINT AND ARG_REGISTRY)
      message(FATAL_ERROR "${name}: split the tests of the endpoints from those of the settings")
   elseif(ARG_REGISTRY)
      list(APPEND properties RESOURCE_LOCK registry)
   elseif(ARG_LOCAL_ENDPOINT)
      list(APPEND properties RESOURCE_LOCK local_endpoint)
   endif()
   if(WIN32)
      # To start Wine for each of the tests would take longer than they do.
      add_test(NAME ${name} COMMAND "${CMAKE_SOURCE_DIR}/tests/windows/run_to_the_end.sh"
         "${CMAKE_CROSSCOMPILING_EMULATOR}" $<TARGET_FILE:${name}> "--gtest_filter=*${not_run}")
      set_tests_properties(${name} PROPERTIES ${properties} TIMEOUT 600 FIXTURES_REQUIRED windows)
      return()
   endif()
   gtest_discover_tests(${name} TEST_PREFIX "${name}." DISCOVERY_MODE PRE_TEST TEST_FILTER "${not_run}"
      DISCOVERY_TIMEOUT 60 PROPERTIES ${properties})
endfunction()
