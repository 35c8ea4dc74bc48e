# The header compiles alone as C99 and as the oldest C++, without a warning; for
# Windows also in the way of Microsoft's compiler, by which a host is built and
# run.
set(header ${PROJECT_SOURCE_DIR}/include/vxmkit.h)
set(strictly -pedantic-errors -Wall -Wextra -Werror)
add_test(NAME header.c99
  COMMAND ${CMAKE_C_COMPILER} -std=c99 ${strictly} -fsyntax-only -x c ${header})
add_test(NAME header.cxx98
  COMMAND ${CMAKE_CXX_COMPILER} -std=c++98 ${strictly} -fsyntax-only -x c++ ${header})
if(NOT WIN32)
  return()
endif()

find_program(VXM_CLANG clang REQUIRED)
find_program(VXM_LLD_LINK lld-link REQUIRED)
foreach(processor IN ITEMS x86_64 i686)
  set(likeMicrosoft ${VXM_CLANG} --target=${processor}-pc-windows-msvc -ffreestanding ${strictly})
  add_test(NAME header.msvc_${processor}_c
    COMMAND ${likeMicrosoft} -std=c99 -fsyntax-only -x c ${header})
  add_test(NAME header.msvc_${processor}_cxx
    COMMAND ${likeMicrosoft} -std=c++14 -fsyntax-only -x c++ ${header})
endforeach()

set(host ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/msvc_host.exe)
add_custom_command(OUTPUT ${host} VERBATIM
  COMMAND ${VXM_CLANG} --target=x86_64-pc-windows-msvc -ffreestanding -std=c99 ${strictly}
    -I ${PROJECT_SOURCE_DIR}/include -c ${CMAKE_CURRENT_LIST_DIR}/msvc_host.c -o msvc_host.obj
  COMMAND ${VXM_LLD_LINK} /nodefaultlib /subsystem:console /entry:HostMain /out:${host}
    msvc_host.obj $<TARGET_LINKER_FILE:vxmkit>
  DEPENDS ${CMAKE_CURRENT_LIST_DIR}/msvc_host.c ${header} vxmkit)
add_custom_target(msvc_host ALL DEPENDS ${host})
add_test(NAME install.msvc_host COMMAND ${CMAKE_CROSSCOMPILING_EMULATOR} ${host})
