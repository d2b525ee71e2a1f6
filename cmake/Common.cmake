# What every target of the tree compiles with, said once. The native fuzz
# build includes this file too.
include_guard(GLOBAL)
get_filename_component(GRS_SOURCE_ROOT "${CMAKE_CURRENT_LIST_DIR}/.." ABSOLUTE)

# The Win32 API in its wide form, without the rarely used parts of windows.h
# (nor the old winsock.h) and without the min/max macros.
add_library(grs_win32 INTERFACE)
target_compile_definitions(grs_win32 INTERFACE UNICODE _UNICODE WIN32_LEAN_AND_MEAN NOMINMAX)

# Sources include by path from the root ("core/Log.h") and the public headers
# by their installed name ("globalrootservice/Zorvane.h").
add_library(grs_tree INTERFACE)
target_include_directories(grs_tree INTERFACE ${GRS_SOURCE_ROOT} ${GRS_SOURCE_ROOT}/include)
target_link_libraries(grs_tree INTERFACE grs_win32)
