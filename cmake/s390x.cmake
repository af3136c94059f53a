# Big-endian: IBM Z.
set(CMAKE_SYSTEM_PROCESSOR s390x)
set(RUVEX_TARGET s390x-linux-gnu)
set(RUVEX_EMULATOR qemu-s390x)
include(${CMAKE_CURRENT_LIST_DIR}/cross.cmake)
