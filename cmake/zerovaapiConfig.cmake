# The library needs nothing that a program which uses it would have to find.
include("${CMAKE_CURRENT_LIST_DIR}/zerovaapiTargets.cmake")

# The linkers of other compilers have an import library of their own.
if(WIN32 AND NOT MINGW)
   get_target_property(zerovaapi_configurations zerovaapi::zerovaapi IMPORTED_CONFIGURATIONS)
   foreach(zerovaapi_configuration ${zerovaapi_configurations})
      get_target_property(zerovaapi_library zerovaapi::zerovaapi IMPORTED_IMPLIB_${zerovaapi_configuration})
      string(REPLACE "libzerovaapi.dll.a" "zerovaapi.lib" zerovaapi_library "${zerovaapi_library}")
      set_target_properties(zerovaapi::zerovaapi PROPERTIES
         IMPORTED_IMPLIB_${zerovaapi_configuration} "${zerovaapi_library}")
   endforeach()
endif()
