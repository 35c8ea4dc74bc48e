# What makes a fault harder to use, in all that is built: a guard before each
# return address that a buffer could reach, and on ELF systems no code on the stack, no
# writable tables of functions once a file is loaded, and a base that changes. Optimized
# builds also have checked forms of the C library's functions where the compiler
# knows the sizes (sanitizers want their own), and what processors have against jumps
# to where none should lead: on x86 the files say that they get along with a shadow
# stack, but not with tracked jumps, since Debian's start files (crti.o) do not.
# GNU's compiler for Windows has no Control Flow Guard.
# tests/structure/hardening.py looks for all of it in the built files.
if(CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang")
  set(optimized CONFIG:Release,RelWithDebInfo,MinSizeRel)
  add_compile_options(-fstack-protector-strong
    "$<$<${optimized}>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=2>")
  if(WIN32)
    add_link_options(-fstack-protector-strong LINKER:--nxcompat,--dynamicbase)
    if(CMAKE_SIZEOF_VOID_P EQUAL 8)
      add_link_options(LINKER:--high-entropy-va)
    endif()
  else()
    include(CheckPIESupported)
    check_pie_supported()
    add_link_options(LINKER:-z,relro,-z,now,-z,noexecstack)
    if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64")
      add_compile_options($<$<${optimized}>:-fcf-protection=full>)
      add_link_options($<$<${optimized}>:LINKER:-z,shstk>)
    elseif(CMAKE_SYSTEM_PROCESSOR MATCHES "aarch64")
      add_compile_options($<$<${optimized}>:-mbranch-protection=standard>)
    endif()
  endif()
endif()
