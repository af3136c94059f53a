# 32-bit ARM with hardware floating point.
set(CMAKE_SYSTEM_PROCESSOR arm)
set(RUVEX_TARGET arm-linux-gnueabihf)
set(RUVEX_EMULATOR qemu-arm)
include(${CMAKE_CURRENT_LIST_DIR}/cross.cmake)
