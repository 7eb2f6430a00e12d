# Toolchain of a program for Windows, built on Debian by g++-mingw-w64-x86-64-posix:
#
#   cmake -B build-windows -DCMAKE_TOOLCHAIN_FILE=cmake/mingw.cmake
#
# What is made while building (book, parameters, tablebases) is not: scripts/release_windows takes it from
# a build for this machine.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)
set(CMAKE_EXE_LINKER_FLAGS_INIT -static)  # nobody has the compiler's libraries
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH /usr/x86_64-w64-mingw32)
