# Cross-compiles for Windows x64 with Debian's clang and lld against the very
# headers and libraries of mingw-w64's posix-threads GCC (its libstdc++, so the
# third-party prefix built with GCC links unchanged), and runs under Wine.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(GRS_MINGW_TRIPLE x86_64-w64-mingw32)

set(CMAKE_C_COMPILER clang)
set(CMAKE_CXX_COMPILER clang++)
set(CMAKE_C_COMPILER_TARGET ${GRS_MINGW_TRIPLE})
set(CMAKE_CXX_COMPILER_TARGET ${GRS_MINGW_TRIPLE})
set(CMAKE_RC_COMPILER ${GRS_MINGW_TRIPLE}-windres)
set(CMAKE_AR ${GRS_MINGW_TRIPLE}-ar CACHE FILEPATH "")
set(CMAKE_RANLIB ${GRS_MINGW_TRIPLE}-ranlib CACHE FILEPATH "")
set(CMAKE_OBJCOPY ${GRS_MINGW_TRIPLE}-objcopy CACHE FILEPATH "")

# Debian names GCC's folder "12-posix", a version clang does not recognise: ask
# GCC where its runtime lives and hand the folders to clang. The sysroot keeps
# the host's /usr/include off the search path.
execute_process(COMMAND ${GRS_MINGW_TRIPLE}-g++-posix -print-file-name=libstdc++.a
                OUTPUT_VARIABLE GRS_GCC_LIBSTDCXX OUTPUT_STRIP_TRAILING_WHITESPACE)
get_filename_component(GRS_GCC_DIR "${GRS_GCC_LIBSTDCXX}" DIRECTORY)
if(NOT IS_DIRECTORY "${GRS_GCC_DIR}/include/c++")
  message(FATAL_ERROR "mingw-w64's posix-threads g++ (g++-mingw-w64-x86-64-posix) is needed for its libstdc++")
endif()
# GCC's mingw target keeps thread-locals emulated (libstdc++'s call_once state
# among them): clang must name them the same way to link against it.
set(GRS_CLANG_FLAGS "--sysroot=/usr/${GRS_MINGW_TRIPLE} -B${GRS_GCC_DIR} -femulated-tls")
set(CMAKE_C_FLAGS_INIT "${GRS_CLANG_FLAGS}")
# GCC's mingw target predefines __GXX_TYPEINFO_EQUALITY_INLINE=0 and its
# libstdc++ was built so (type_info::operator== out of line); clang does not,
# and its inline copy then clashes with libstdc++'s at link time.
set(CMAKE_CXX_FLAGS_INIT "${GRS_CLANG_FLAGS} -nostdinc++ -isystem ${GRS_GCC_DIR}/include/c++ -isystem ${GRS_GCC_DIR}/include/c++/${GRS_MINGW_TRIPLE} -isystem ${GRS_GCC_DIR}/include/c++/backward -D__GXX_TYPEINFO_EQUALITY_INLINE=0")
# GCC's posix-threads driver links winpthreads by itself; clang's does so
# with -pthread, inside the group with libgcc (whose TLS emulation needs it).
# The link line repeats the compile flags; -nostdinc++ means nothing there.
set(GRS_MINGW_LINKER_FLAGS "-fuse-ld=lld -pthread -L${GRS_GCC_DIR} -Wno-unused-command-line-argument")
include(${CMAKE_CURRENT_LIST_DIR}/mingw-common.cmake)
