# What cmake --install puts where. Components: runtime (what a program that uses the library needs),
# development, doc. All of it may be moved together afterwards.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(ZEROVA_INSTALL_TEXTSDIR "${CMAKE_INSTALL_DATADIR}/zerovaapi/texts" CACHE STRING
   "Folder of the library's own error descriptions, below the prefix")
set(packages_dir "${CMAKE_INSTALL_LIBDIR}/cmake/zerovaapi")
set(pkgconfig_dir "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
set(ZEROVA_INSTALL_PROGRAMSDIR "${CMAKE_INSTALL_LIBDIR}/zerovaapi/examples")
if(WIN32)
   # Where programs look for a DLL.
   set(ZEROVA_INSTALL_PROGRAMSDIR "${CMAKE_INSTALL_BINDIR}")
endif()
# Not the architecture's: the system reads it here alone.
set(tmpfiles_dir "lib/tmpfiles.d")

# First, since rules are carried out in their order: whether all is built, whether the prefix can be
# written to, and which folders are made for us and go again.
set(folders "${CMAKE_INSTALL_LIBDIR}" "${CMAKE_INSTALL_INCLUDEDIR}" "${ZEROVA_INSTALL_TEXTSDIR}"
   "${CMAKE_INSTALL_MANDIR}/man3" "${CMAKE_INSTALL_MANDIR}/man7" "${packages_dir}" "${pkgconfig_dir}" "${CMAKE_INSTALL_DOCDIR}" "${tmpfiles_dir}"
   "${ZEROVA_INSTALL_PROGRAMSDIR}")
if(WIN32)
   list(FILTER folders EXCLUDE REGEX "/(man[0-9]|pkgconfig|tmpfiles[.]d)$")
   list(APPEND folders "${CMAKE_INSTALL_BINDIR}")
elseif(NOT ZEROVA_BUILD_EXAMPLES)
   list(REMOVE_ITEM folders "${ZEROVA_INSTALL_PROGRAMSDIR}")
endif()
if(ZEROVA_BUILD_TOOLS AND NOT WIN32)
   list(APPEND folders "${CMAKE_INSTALL_BINDIR}" "${CMAKE_INSTALL_MANDIR}/man1"
      "${CMAKE_INSTALL_DATADIR}/bash-completion/completions")
endif()
set(installed_files "\"$<TARGET_FILE:zerovaapi>\"" "\"${PROJECT_BINARY_DIR}/texts/generated/zerova/English/zerova.err\""
   "\"${PROJECT_BINARY_DIR}/man/made\"")
if(TARGET zerova_notices)
   list(APPEND installed_files "\"${PROJECT_BINARY_DIR}/third-party.md\"")
endif()
if(ZEROVA_BUILD_EXAMPLES)
   foreach(example quick_start route_tour describe_error list_and_route)
      list(APPEND installed_files "\"$<TARGET_FILE:${example}>\"")
   endforeach()
endif()
if(ZEROVA_BUILD_TOOLS)
   list(APPEND installed_files "\"$<TARGET_FILE:zerovactl>\"" "\"$<TARGET_FILE:zerova-simulator>\"")
endif()
list(JOIN installed_files " " installed_files)
configure_file(cmake/prepare_install.cmake.in "${PROJECT_BINARY_DIR}/prepare_install.cmake.in" @ONLY)
file(GENERATE OUTPUT "${PROJECT_BINARY_DIR}/prepare_install.cmake" INPUT "${PROJECT_BINARY_DIR}/prepare_install.cmake.in")
install(SCRIPT "${PROJECT_BINARY_DIR}/prepare_install.cmake" ALL_COMPONENTS)

install(TARGETS zerovaapi EXPORT zerovaapiTargets
   RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT runtime
   ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT development
   LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT runtime NAMELINK_COMPONENT development
   INCLUDES DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}")
install(FILES include/zerovaapi.h include/zerovaapi.hpp include/quelerr_status.h include/lorvex_translator.h
   DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}" COMPONENT development)

install(EXPORT zerovaapiTargets NAMESPACE zerovaapi:: DESTINATION "${packages_dir}" COMPONENT development)
write_basic_package_version_file("${PROJECT_BINARY_DIR}/zerovaapiConfigVersion.cmake"
   COMPATIBILITY SameMajorVersion)
install(FILES cmake/zerovaapiConfig.cmake "${PROJECT_BINARY_DIR}/zerovaapiConfigVersion.cmake"
   DESTINATION "${packages_dir}" COMPONENT development)

# zerova_relative_to_prefix(variable folder): the folder as the pkg-config file names it, which is
# found with the prefix unless it was set to be absolute.
function(zerova_relative_to_prefix variable folder)
   if(IS_ABSOLUTE "${folder}")
      set(${variable} "${folder}" PARENT_SCOPE)
   else()
      set(${variable} "\${prefix}/${folder}" PARENT_SCOPE)
   endif()
endfunction()
zerova_relative_to_prefix(pc_includedir "${CMAKE_INSTALL_INCLUDEDIR}")
zerova_relative_to_prefix(pc_libdir "${CMAKE_INSTALL_LIBDIR}")
zerova_relative_to_prefix(pc_textsdir "${ZEROVA_INSTALL_TEXTSDIR}")
if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
   set(pc_prefix "${CMAKE_INSTALL_PREFIX}")
else()
   file(RELATIVE_PATH way_up "/${pkgconfig_dir}" "/")
   string(REGEX REPLACE "/$" "" way_up "${way_up}")
   set(pc_prefix "\${pcfiledir}/${way_up}")
endif()
configure_file(cmake/zerovaapi.pc.in "${PROJECT_BINARY_DIR}/zerovaapi.pc" @ONLY)
if(NOT WIN32) # it tells folders that are none there
   install(FILES "${PROJECT_BINARY_DIR}/zerovaapi.pc" DESTINATION "${pkgconfig_dir}" COMPONENT development)
endif()

# The folder in which the service listens. A service may bring a file of its own for it: of two that
# name one folder, the system heeds the one whose name comes first.
configure_file(packaging/tmpfiles.conf.in "${PROJECT_BINARY_DIR}/zerovaapi.conf" @ONLY)
if(NOT WIN32)
   install(FILES "${PROJECT_BINARY_DIR}/zerovaapi.conf" DESTINATION "${tmpfiles_dir}" COMPONENT runtime)
endif()
if(TARGET zerova_notices)
   install(FILES "${PROJECT_BINARY_DIR}/third-party.md" DESTINATION "${CMAKE_INSTALL_DOCDIR}" COMPONENT runtime)
endif()

# Their names follow the headers and the documents, so a stamp stands for them.
set(man_pages "${PROJECT_BINARY_DIR}/man")
file(GLOB documents CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/docs/*.md" "${PROJECT_SOURCE_DIR}/docs/man/*.py"
   "${PROJECT_SOURCE_DIR}/docs/book/*.py")
add_custom_command(OUTPUT "${man_pages}/made"
   COMMAND Python3::Interpreter -B "${PROJECT_SOURCE_DIR}/docs/man/generate_man.py" "${PROJECT_SOURCE_DIR}"
      ${PROJECT_VERSION} "${ZEROVA_ENDPOINT_DIR}" "${ZEROVA_REGISTRY_DIR}" "${man_pages}"
   COMMAND "${CMAKE_COMMAND}" -E touch "${man_pages}/made"
   DEPENDS ${documents} docs/book/contents.txt include/zerovaapi.h include/quelerr_status.h include/lorvex_translator.h
   COMMENT "Generating the manual pages from the headers and the documents"
   VERBATIM)
add_custom_target(zerova_man ALL DEPENDS "${man_pages}/made")
if(NOT WIN32)
   install(DIRECTORY "${man_pages}/man3" "${man_pages}/man7" DESTINATION "${CMAKE_INSTALL_MANDIR}" COMPONENT development)
endif()

# As they stand in the sources, for the links from one to another.
install(DIRECTORY docs DESTINATION "${CMAKE_INSTALL_DOCDIR}" COMPONENT doc
   FILES_MATCHING PATTERN "*.md" PATTERN "*.svg" PATTERN man EXCLUDE PATTERN book EXCLUDE)
install(FILES README.md CHANGELOG.md CONTRIBUTING.md SECURITY.md DESTINATION "${CMAKE_INSTALL_DOCDIR}" COMPONENT doc)
install(DIRECTORY examples/ DESTINATION "${CMAKE_INSTALL_DOCDIR}/examples" COMPONENT doc PATTERN .clang-tidy EXCLUDE)

if(WIN32)
   include(cmake/ZerovaInstallDll.cmake)
endif()

configure_file(cmake/uninstall.cmake.in "${PROJECT_BINARY_DIR}/uninstall.cmake" @ONLY)
if(PROJECT_IS_TOP_LEVEL)
   add_custom_target(uninstall
      COMMAND "${CMAKE_COMMAND}" -P "${PROJECT_BINARY_DIR}/uninstall.cmake"
      COMMENT "Removing what was installed"
      VERBATIM)
endif()
