# Builds for Windows with the mingw-w64 compilers of Debian, in the variant whose
# standard library has threads. `triplet` names the processor.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_C_COMPILER ${triplet}-gcc-posix)
set(CMAKE_CXX_COMPILER ${triplet}-g++-posix)
set(CMAKE_RC_COMPILER ${triplet}-windres)

# Headers, libraries and packages for Windows alone: those of this system do not fit.
set(CMAKE_FIND_ROOT_PATH /usr/${triplet})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)

# The compiler's own libraries go into each file, so that it needs only what
# Windows has.
set(CMAKE_SHARED_LINKER_FLAGS_INIT -static)
set(CMAKE_EXE_LINKER_FLAGS_INIT -static)

# Windows keeps the stack aligned to 16 bytes, and the compiler believes 32 where
# it moves 32-byte vectors; moves that need no alignment cost nothing more.
set(CMAKE_CXX_FLAGS_INIT -Wa,-muse-unaligned-vector-move)
