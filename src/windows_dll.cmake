# What the library has on Windows alone: its export list in the form of Windows'
# linkers, a version resource, and an import library for hosts.
target_link_libraries(vxmkit_objects PUBLIC oleaut32)

file(READ exports.map exportedNames)
string(REGEX MATCHALL "VXM_[A-Za-z_]+" exportedNames "${exportedNames}")
list(JOIN exportedNames "\n  " exportedNames)
set(exportDefinition ${CMAKE_CURRENT_BINARY_DIR}/vxmkit.def)
file(CONFIGURE OUTPUT vxmkit.def CONTENT "LIBRARY vxmkit.dll\nEXPORTS\n  @exportedNames@\n" @ONLY)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS exports.map)

enable_language(RC)
configure_file(vxmkit.rc.in vxmkit.rc @ONLY)
target_sources(vxmkit PRIVATE ${exportDefinition} ${CMAKE_CURRENT_BINARY_DIR}/vxmkit.rc)

# One import library for hosts of all linkers: in the short form that Microsoft's
# want and GNU's take too. It replaces the one in GNU's form that comes with the
# link.
set_target_properties(vxmkit PROPERTIES PREFIX "" IMPORT_PREFIX "" IMPORT_SUFFIX .lib)
find_program(VXM_LLVM_DLLTOOL llvm-dlltool REQUIRED)
if(CMAKE_SIZEOF_VOID_P EQUAL 8)
  set(machine i386:x86-64)
else()
  set(machine i386)
endif()
add_custom_command(TARGET vxmkit POST_BUILD VERBATIM COMMAND ${VXM_LLVM_DLLTOOL}
  -m ${machine} -d ${exportDefinition} -l $<TARGET_LINKER_FILE:vxmkit>)
