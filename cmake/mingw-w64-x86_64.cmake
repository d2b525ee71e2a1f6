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

# Third-party libraries built by scripts/bootstrap.sh live in their own prefix.
if(NOT GRS_DEPS_PREFIX AND DEFINED ENV{GRS_DEPS_PREFIX})
  set(GRS_DEPS_PREFIX "$ENV{GRS_DEPS_PREFIX}")
endif()
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES GRS_DEPS_PREFIX)
# A project may add its own roots (-DCMAKE_FIND_ROOT_PATH=<an install prefix>).
list(APPEND CMAKE_FIND_ROOT_PATH /usr/${GRS_MINGW_TRIPLE} ${GRS_DEPS_PREFIX})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# The client ships single DLLs: the compiler runtime is linked in statically.
set(CMAKE_EXE_LINKER_FLAGS_INIT "-static")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-static")
set(CMAKE_MODULE_LINKER_FLAGS_INIT "-static")

# Programs run under Wine: the project's CMakeLists points
# CMAKE_CROSSCOMPILING_EMULATOR at a wrapper with a Wine prefix of the build.
set(GRS_RUN_UNDER_WINE ON)
