# What is installed with the DLL alone.
install(FILES "${import_library}" DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT development)
install(FILES "${symbol_map}" DESTINATION "${CMAKE_INSTALL_DOCDIR}" COMPONENT doc)

# The runtime of the compiler is linked in, so its terms go along: as the compiler's packages tell them.
find_file(RUNTIME_NOTICES mingw-w64-x86-64-dev/copyright PATHS /usr/share/doc NO_CMAKE_FIND_ROOT_PATH
   DOC "Notices of the runtime that is linked in")
find_file(COMPILER_NOTICES gcc-mingw-w64-base/copyright PATHS /usr/share/doc NO_CMAKE_FIND_ROOT_PATH
   DOC "Notices of the compiler's own libraries")
zerova_require(RUNTIME_NOTICES "The notices of the runtime" mingw-w64-x86-64-dev)
zerova_require(COMPILER_NOTICES "The notices of the compiler's libraries" gcc-mingw-w64-base)
install(FILES "${RUNTIME_NOTICES}" RENAME third-party-runtime.txt DESTINATION "${CMAKE_INSTALL_DOCDIR}"
   COMPONENT runtime)
install(FILES "${COMPILER_NOTICES}" RENAME third-party-compiler.txt DESTINATION "${CMAKE_INSTALL_DOCDIR}"
   COMPONENT runtime)
