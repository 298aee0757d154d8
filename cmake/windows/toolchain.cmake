# 64-bit Windows, built with the MinGW-w64 cross compiler; programs run under Wine. The libraries
# that the project uses come from dependencies.sh.

set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(triple x86_64-w64-mingw32)

# The variant with POSIX threads; the other one has no std::thread.
set(CMAKE_C_COMPILER ${triple}-gcc-posix)
set(CMAKE_CXX_COMPILER ${triple}-g++-posix)
set(CMAKE_RC_COMPILER ${triple}-windres)

# The compiler's own libraries go into each program and library, so that a machine without the
# compiler runs them.
foreach(kind IN ITEMS EXE SHARED MODULE)
  set(CMAKE_${kind}_LINKER_FLAGS_INIT "-static")
endforeach()

cmake_path(SET dependencies NORMALIZE
           "${CMAKE_CURRENT_LIST_DIR}/../../build/windows-dependencies/installed")
set(ZOLP_WINDOWS_DEPENDENCIES "${dependencies}")
list(APPEND CMAKE_FIND_ROOT_PATH "${dependencies}" /usr/${triple})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
foreach(kind IN ITEMS LIBRARY INCLUDE PACKAGE)
  set(CMAKE_FIND_ROOT_PATH_MODE_${kind} ONLY)
endforeach()
# Nothing of the build machine's own libraries.
set(ENV{PKG_CONFIG_LIBDIR} "${dependencies}/lib/pkgconfig:/usr/${triple}/lib/pkgconfig")
set(ENV{PKG_CONFIG_PATH} "")

set(CMAKE_CROSSCOMPILING_EMULATOR "${CMAKE_CURRENT_LIST_DIR}/run.sh" --test)
