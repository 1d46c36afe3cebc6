# 64-bit RISC-V, little-endian.
set(CMAKE_SYSTEM_PROCESSOR riscv64)
set(triple riscv64-linux-gnu)
set(emulator qemu-riscv64)
include(${CMAKE_CURRENT_LIST_DIR}/cross.cmake)
