# Linux on 64-bit RISC-V.
set(CMAKE_SYSTEM_PROCESSOR riscv64)
include(${CMAKE_CURRENT_LIST_DIR}/linux_cross.cmake)
