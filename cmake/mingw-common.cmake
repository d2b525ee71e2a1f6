# Shared by the mingw-w64 toolchain files (GCC and clang): where the target's
# libraries are found, how programs link and run.

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
set(CMAKE_EXE_LINKER_FLAGS_INIT "-static ${GRS_MINGW_LINKER_FLAGS}")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-static ${GRS_MINGW_LINKER_FLAGS}")
set(CMAKE_MODULE_LINKER_FLAGS_INIT "-static ${GRS_MINGW_LINKER_FLAGS}")

# Programs run under Wine: the project's CMakeLists points
# CMAKE_CROSSCOMPILING_EMULATOR at a wrapper with a Wine prefix of the build.
set(GRS_RUN_UNDER_WINE ON)
