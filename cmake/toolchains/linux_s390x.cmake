# Linux on IBM Z, where numbers begin with their highest byte.
set(CMAKE_SYSTEM_PROCESSOR s390x)
include(${CMAKE_CURRENT_LIST_DIR}/linux_cross.cmake)
