# The library needs nothing that a program which uses it would have to find.
include("${CMAKE_CURRENT_LIST_DIR}/zerovaapiTargets.cmake")
