# A cross compiler for a controller, as a CMake toolchain file to copy and change:
#
#   cmake -S . -B build/firmware -DCMAKE_TOOLCHAIN_FILE=examples/firmware-toolchain.cmake -DRUVEX_TESTS=OFF

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)  # of your SDK, perhaps by its whole path
# set(CMAKE_SYSROOT /opt/sdk/sysroot)            # when the compiler does not know it by itself

# The processor of the controller: what the compiler may use, and nothing that it has not.
set(CMAKE_CXX_FLAGS_INIT "-mcpu=cortex-a7 -mfpu=neon-vfpv4")
# One optimised for size; -O3 is CMake's own choice.
set(CMAKE_CXX_FLAGS_RELEASE_INIT "-Os -DNDEBUG")
# Static programs run with any C library on the controller, and with none.
set(RUVEX_STATIC ON CACHE BOOL "Link the programs without any shared library")

# Libraries and packages are the sysroot's, programs such as python3 this machine's.
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
