# Cross-compiles for Windows x64 with mingw-w64's posix-threads compilers
# (std::thread and std::mutex need them) and runs the results under Wine.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(GRS_MINGW_TRIPLE x86_64-w64-mingw32)

set(CMAKE_C_COMPILER ${GRS_MINGW_TRIPLE}-gcc-posix)
set(CMAKE_CXX_COMPILER ${GRS_MINGW_TRIPLE}-g++-posix)
set(CMAKE_RC_COMPILER ${GRS_MINGW_TRIPLE}-windres)
set(CMAKE_AR ${GRS_MINGW_TRIPLE}-ar CACHE FILEPATH "")
set(CMAKE_RANLIB ${GRS_MINGW_TRIPLE}-ranlib CACHE FILEPATH "")
set(CMAKE_OBJCOPY ${GRS_MINGW_TRIPLE}-objcopy CACHE FILEPATH "")

include(${CMAKE_CURRENT_LIST_DIR}/mingw-common.cmake)
