# Static programs on x86-64 with musl as their C library, by the toolchain that scripts/musl makes. The
# machine's libraries are of another C library: a cross build, whose programs run all the same.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(CMAKE_CXX_COMPILER g++)
set(CMAKE_CXX_FLAGS_INIT -specs=${CMAKE_CURRENT_LIST_DIR}/../build/musl-toolchain/musl.specs)
set(CMAKE_EXE_LINKER_FLAGS_INIT -static)
set(CMAKE_FIND_ROOT_PATH ${CMAKE_CURRENT_LIST_DIR}/../build/musl-toolchain)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
