# What a library has on Windows alone: its export list (a version script) in the
# form of Windows' linkers, and an import library for hosts.
function(make_windows_dll target exports)
  file(READ ${exports} exportedNames)
  string(REGEX MATCHALL "VX[MR]_[A-Za-z_]+" exportedNames "${exportedNames}")
  list(JOIN exportedNames "\n  " exportedNames)
  set(exportDefinition ${CMAKE_CURRENT_BINARY_DIR}/${target}.def)
  file(CONFIGURE OUTPUT ${target}.def
    CONTENT "LIBRARY ${target}.dll\nEXPORTS\n  @exportedNames@\n" @ONLY)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${exports})
  target_sources(${target} PRIVATE ${exportDefinition})

  # One import library for hosts of all linkers: in the short form that Microsoft's
  # want and GNU's take too. It replaces the one in GNU's form that comes with the
  # link.
  set_target_properties(${target} PROPERTIES PREFIX "" IMPORT_PREFIX "" IMPORT_SUFFIX .lib)
  find_program(VXM_LLVM_DLLTOOL llvm-dlltool REQUIRED)
  if(CMAKE_SIZEOF_VOID_P EQUAL 8)
    set(machine i386:x86-64)
  else()
    set(machine i386)
  endif()
  add_custom_command(TARGET ${target} POST_BUILD VERBATIM COMMAND ${VXM_LLVM_DLLTOOL}
    -m ${machine} -d ${exportDefinition} -l $<TARGET_LINKER_FILE:${target}>)
endfunction()
