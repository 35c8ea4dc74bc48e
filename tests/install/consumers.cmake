# Installs a build into a folder, moves that, and builds and runs a host against
# it twice: found by find_package, and compiled with the flags of pkg-config. The
# installed program is run too.
cmake_minimum_required(VERSION 3.25)
set(work ${buildDir}/install_test)
set(prefix ${work}/moved)
file(REMOVE_RECURSE ${work})

function(run)
  execute_process(COMMAND ${ARGN} COMMAND_ECHO STDOUT COMMAND_ERROR_IS_FATAL ANY)
endfunction()

run(${CMAKE_COMMAND} --install ${buildDir} --prefix ${work}/installed)
file(RENAME ${work}/installed ${prefix})
if(NOT EXISTS ${prefix}/${libDir}/libvxmkit.so.${abi})
  message(FATAL_ERROR "no libvxmkit.so.${abi} in ${prefix}/${libDir}")
endif()

if(program)
  run(${prefix}/bin/${program} --version)
endif()

run(${CMAKE_COMMAND} -G ${generator} -S ${CMAKE_CURRENT_LIST_DIR} -B ${work}/by_cmake
  -D CMAKE_PREFIX_PATH=${prefix} -D wantedVersion=${version}
  -D CMAKE_C_COMPILER=${compiler} -D CMAKE_C_FLAGS=${compilerFlags})
run(${CMAKE_COMMAND} --build ${work}/by_cmake)
run(${work}/by_cmake/consumer ${version})

find_program(pkgConfig NAMES pkg-config pkgconf REQUIRED)
set(ENV{PKG_CONFIG_PATH} ${prefix}/${libDir}/pkgconfig)
execute_process(COMMAND ${pkgConfig} --cflags --libs "vxmkit = ${version}"
  OUTPUT_VARIABLE flags OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
separate_arguments(flags UNIX_COMMAND "${flags}")
separate_arguments(compilerFlags UNIX_COMMAND "${compilerFlags}")
run(${compiler} -std=c99 -Wall -Wextra -Wpedantic -Werror ${compilerFlags}
  ${CMAKE_CURRENT_LIST_DIR}/consumer.c -o ${work}/by_pkg_config
  ${flags} -Wl,-rpath,${prefix}/${libDir})
run(${work}/by_pkg_config ${version})
