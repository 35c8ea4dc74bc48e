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
