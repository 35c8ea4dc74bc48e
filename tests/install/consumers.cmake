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
if(suffix STREQUAL ".exe")
  set(library bin/vxmkit.dll)
else()
  set(library ${libDir}/libvxmkit.so.${abi})
endif()
if(NOT EXISTS ${prefix}/${library})
  message(FATAL_ERROR "no ${library} in ${prefix}")
endif()

# On Windows a host has the library beside itself.
function(run_consumer folder)
  if(suffix STREQUAL ".exe")
    file(COPY ${prefix}/${library} DESTINATION ${folder})
  endif()
  run(${emulator} ${folder}/consumer${suffix} ${version})
endfunction()

if(program)
  run(${emulator} ${prefix}/bin/${program}${suffix} --version)
endif()

run(${CMAKE_COMMAND} -G ${generator} -S ${CMAKE_CURRENT_LIST_DIR} -B ${work}/by_cmake
  -D CMAKE_PREFIX_PATH=${prefix} -D wantedVersion=${version}
  -D CMAKE_TOOLCHAIN_FILE=${toolchain} -D CMAKE_C_COMPILER=${compiler}
  -D CMAKE_C_FLAGS=${compilerFlags})
run(${CMAKE_COMMAND} --build ${work}/by_cmake)
run_consumer(${work}/by_cmake)

find_program(pkgConfig NAMES pkg-config pkgconf REQUIRED)
set(ENV{PKG_CONFIG_PATH} ${prefix}/${libDir}/pkgconfig)
execute_process(COMMAND ${pkgConfig} --cflags --libs "vxmkit = ${version}"
  OUTPUT_VARIABLE flags OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
separate_arguments(flags UNIX_COMMAND "${flags}")
separate_arguments(compilerFlags UNIX_COMMAND "${compilerFlags}")
file(MAKE_DIRECTORY ${work}/by_pkg_config)
run(${compiler} -std=c99 -Wall -Wextra -Wpedantic -Werror ${compilerFlags}
  ${CMAKE_CURRENT_LIST_DIR}/consumer.c -o ${work}/by_pkg_config/consumer${suffix}
  ${flags} -Wl,-rpath,${prefix}/${libDir})
run_consumer(${work}/by_pkg_config)
