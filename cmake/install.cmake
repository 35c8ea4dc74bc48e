# What `cmake --install` lays down: the library, its header, and the two files by
# which CMake (find_package) and pkg-config find them. Both find the rest
# relative to themselves, so that an installed tree can be moved.
include(CMakePackageConfigHelpers)

install(TARGETS vxmkit vxmrecords EXPORT vxmkitTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT library
    NAMELINK_COMPONENT development
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT library
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
install(FILES ${PROJECT_SOURCE_DIR}/include/vxmkit.h ${PROJECT_SOURCE_DIR}/records/vxmrecords.h
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)

set(packageDir ${CMAKE_INSTALL_LIBDIR}/cmake/vxmkit)
# The library needs nothing at a host's link time, so the exported targets are
# the whole package file.
install(EXPORT vxmkitTargets
  NAMESPACE vxmkit:: DESTINATION ${packageDir} FILE vxmkitConfig.cmake COMPONENT development)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/vxmkitConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/vxmkitConfigVersion.cmake
  DESTINATION ${packageDir} COMPONENT development)

file(RELATIVE_PATH prefixFromPkgConfig
  ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
configure_file(${PROJECT_SOURCE_DIR}/cmake/vxmkit.pc.in ${PROJECT_BINARY_DIR}/vxmkit.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/vxmkit.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)

# The licenses of what is compiled into programs, as Debian's packages state them.
if(VXM_BUILD_APPS)
  set(compiledIn CLI11:libcli11-dev nlohmann-json:nlohmann-json3-dev highway:libhwy-dev)
  if(VXM_GALLERIES)
    list(APPEND compiledIn SQLiteCpp:libsqlitecpp-dev)
  endif()
  set(licenseDir ${CMAKE_INSTALL_DATAROOTDIR}/doc/vxmkit-tools)
  if(WIN32)
    list(APPEND compiledIn mingw-w64:mingw-w64-x86-64-dev gcc:gcc-12-base)
    set(licenseDir licenses)
  endif()
  foreach(pair IN LISTS compiledIn)
    string(REPLACE ":" ";" pair ${pair})
    list(GET pair 0 name)
    list(GET pair 1 package)
    install(FILES /usr/share/doc/${package}/copyright DESTINATION ${licenseDir}
      RENAME LICENSE.${name} COMPONENT tools OPTIONAL)
  endforeach()
endif()
