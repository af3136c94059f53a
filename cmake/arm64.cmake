# 64-bit ARM.
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(RUVEX_TARGET aarch64-linux-gnu)
set(RUVEX_EMULATOR qemu-aarch64)
include(${CMAKE_CURRENT_LIST_DIR}/cross.cmake)
