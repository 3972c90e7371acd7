# What zerovaapi.dll has that the library of another system has not: a resource that tells its
# version, import libraries, and programs beside it, since that is where they look for it.
enable_language(RC)
configure_file(cmake/version.rc.in "${PROJECT_BINARY_DIR}/version.rc" @ONLY)
target_sources(zerovaapi PRIVATE
   "${PROJECT_BINARY_DIR}/version.rc" "${PROJECT_BINARY_DIR}/exports.def" platform/windows/runtime_threads.cpp)
set_target_properties(zerovaapi PROPERTIES PREFIX "")
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}")
set_target_properties(zerovaapi PROPERTIES
   RUNTIME_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}" ARCHIVE_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}")

# Without symbols, which the map has, and without the time: one source gives the same bytes again.
target_link_options(zerovaapi PRIVATE LINKER:--no-insert-timestamp)
set(symbol_map "${PROJECT_BINARY_DIR}/zerovaapi.map")
add_custom_command(TARGET zerovaapi POST_BUILD
   COMMAND Python3::Interpreter -B "${PROJECT_SOURCE_DIR}/cmake/symbol_map.py" "${CMAKE_NM}"
      $<TARGET_FILE:zerovaapi> "${symbol_map}"
   COMMAND "${CMAKE_STRIP}" --strip-all --preserve-dates $<TARGET_FILE:zerovaapi>
   BYPRODUCTS "${symbol_map}"
   VERBATIM)

# libzerovaapi.dll.a comes with the library; other compilers' linkers take this one.
find_program(LLVM_DLLTOOL NAMES llvm-dlltool llvm-dlltool-14 REQUIRED)
set(import_library "${PROJECT_BINARY_DIR}/zerovaapi.lib")
add_custom_command(OUTPUT "${import_library}"
   COMMAND "${LLVM_DLLTOOL}" -m i386:x86-64 -d "${PROJECT_BINARY_DIR}/exports.def" -l "${import_library}"
   DEPENDS "${PROJECT_BINARY_DIR}/exports.def"
   COMMENT "Making the import library for other compilers"
   VERBATIM)
add_custom_target(zerova_import_library ALL DEPENDS "${import_library}")
