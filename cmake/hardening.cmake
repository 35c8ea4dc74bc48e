# What makes a fault harder to use, in all that is built: a guard before each
# return address that a buffer could reach, checked forms of the C library's
# functions where the compiler knows the sizes (only optimized builds have them, and
# sanitizers want their own), and on ELF systems no code on the stack and no
# writable tables of functions once a file is loaded. tests/structure/hardening.py
# looks for all of it in the built library.
if(CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang")
  add_compile_options(-fstack-protector-strong
    "$<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=2>")
  if(WIN32)
    add_link_options(-fstack-protector-strong LINKER:--nxcompat,--dynamicbase)
  else()
    add_link_options(LINKER:-z,relro,-z,now,-z,noexecstack)
  endif()
endif()
