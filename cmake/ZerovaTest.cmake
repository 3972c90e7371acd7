find_package(GTest REQUIRED)
include(GoogleTest)

# zerova_add_test(name [EXPORTS] [LOCAL_ENDPOINT] SOURCES a.cpp... [LIBRARIES lib...])
#
# One test program, each of its tests known to CTest by its own name.
# EXPORTS: link the built shared library and nothing of its inside; otherwise link the objects.
# LOCAL_ENDPOINT: the tests bind the service's local endpoints, of which the build has one set, so
# they take turns.
function(zerova_add_test name)
   cmake_parse_arguments(ARG "EXPORTS;LOCAL_ENDPOINT" "" "SOURCES;LIBRARIES" ${ARGN})
   add_executable(${name} ${ARG_SOURCES})
   target_link_libraries(${name} PRIVATE zerova_flags zerova_folders ${ARG_LIBRARIES} GTest::gmock GTest::gtest_main)
   if(ARG_EXPORTS)
      target_link_libraries(${name} PRIVATE zerovaapi)
   else()
      target_link_libraries(${name} PRIVATE
         zerovaapi_objects $<TARGET_OBJECTS:zerova_interface>)
   endif()
   target_include_directories(${name} PRIVATE "${CMAKE_SOURCE_DIR}/tests")
   set(properties TIMEOUT 120)
   if(ARG_LOCAL_ENDPOINT)
      list(APPEND properties RESOURCE_LOCK local_endpoint)
   endif()
   gtest_discover_tests(${name} TEST_PREFIX "${name}." DISCOVERY_MODE PRE_TEST
      DISCOVERY_TIMEOUT 60 PROPERTIES ${properties})
endfunction()
