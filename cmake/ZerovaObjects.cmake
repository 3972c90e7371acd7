# zerova_link_objects(target [REPLACES source...])
#
# Links the library's objects, with what they need, into a program that looks at its inside.
# REPLACES names sources whose place the program's own take, such as platform/posix/socket.cpp.
function(zerova_link_objects target)
   cmake_parse_arguments(ARG "" "" "REPLACES" ${ARGN})
   if(NOT ARG_REPLACES)
      target_link_libraries(${target} PRIVATE zerovaapi_objects $<TARGET_OBJECTS:zerova_interface>)
      return()
   endif()
   set(objects $<TARGET_OBJECTS:zerovaapi_objects>)
   foreach(source ${ARG_REPLACES})
      set(objects $<FILTER:${objects},EXCLUDE,/${source}[.]>)
   endforeach()
   # Naming the object library as one to link would bring in all of its objects.
   target_include_directories(${target} PRIVATE
      $<TARGET_PROPERTY:zerovaapi_objects,INTERFACE_INCLUDE_DIRECTORIES>)
   target_link_libraries(${target} PRIVATE
      ${objects} $<TARGET_PROPERTY:zerovaapi_objects,LINK_LIBRARIES>)
   target_link_options(${target} PRIVATE $<TARGET_PROPERTY:zerovaapi_objects,INTERFACE_LINK_OPTIONS>)
endfunction()

# zerova_link_interpreter(target)
#
# Links an interpreter of its own into a program that knows the library from outside.
function(zerova_link_interpreter target)
   target_link_libraries(${target} PRIVATE zerova_lua)
   target_sources(${target} PRIVATE
      "$<FILTER:$<TARGET_OBJECTS:zerovaapi_objects>,INCLUDE,/(codec_memory|native_module|number_text|script_files|thread_pointer|wide_text)[.]>")
endfunction()
