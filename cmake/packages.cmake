# Packages of a build, by cpack: for Debian the library, what development needs,
# the programs, the PostgreSQL extension and the documents, one package each; for
# Windows all in one zip.
set(CPACK_PACKAGE_VENDOR "The VXMKIT team")
set(CPACK_PACKAGE_CONTACT "The VXMKIT team")
set(CPACK_PACKAGE_CHECKSUM SHA256)
set(CPACK_STRIP_FILES ON)
set(CPACK_VERBATIM_VARIABLES ON)

# The documents as they lie in the tree, so that their links hold.
function(install_documents folder)
  foreach(page IN ITEMS README.md CHANGELOG.md HACKING.md LICENSE SECURITY.md docs
      bindings/python/README.md bindings/javascript/README.md)
    cmake_path(GET page PARENT_PATH below)
    if(IS_DIRECTORY ${PROJECT_SOURCE_DIR}/${page})
      install(DIRECTORY ${PROJECT_SOURCE_DIR}/${page} DESTINATION ${folder}/${below}
        COMPONENT documents PATTERN Doxyfile EXCLUDE)
    else()
      install(FILES ${PROJECT_SOURCE_DIR}/${page} DESTINATION ${folder}/${below}
        COMPONENT documents)
    endif()
  endforeach()
endfunction()

if(WIN32)
  set(CPACK_GENERATOR ZIP)
  set(CPACK_PACKAGE_FILE_NAME vxmkit-${PROJECT_VERSION}-windows-${CMAKE_SYSTEM_PROCESSOR})
  install_documents(.)
  set(VXM_WINDOWS32 "" CACHE PATH "Installed tree of the build for 32-bit hosts, to put beside")
  if(VXM_WINDOWS32)
    install(PROGRAMS ${VXM_WINDOWS32}/bin/vxmkit.dll DESTINATION bin32)
    install(FILES ${VXM_WINDOWS32}/lib/vxmkit.lib DESTINATION lib32)
  endif()
  include(CPack)
  return()
endif()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGING_INSTALL_PREFIX ${CMAKE_INSTALL_PREFIX})
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS
  ${PROJECT_BINARY_DIR}/src ${PROJECT_BINARY_DIR}/records)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")

set(sameVersion "libvxmkit${PROJECT_VERSION_MAJOR} (= ${PROJECT_VERSION})")
function(debian_package component name section description)
  string(TOUPPER ${component} key)
  set(CPACK_DEBIAN_${key}_PACKAGE_NAME ${name} PARENT_SCOPE)
  set(CPACK_DEBIAN_${key}_PACKAGE_SECTION ${section} PARENT_SCOPE)
  set(CPACK_DEBIAN_${key}_DESCRIPTION ${description} PARENT_SCOPE)
  if(NOT component MATCHES "library|documents")
    set(CPACK_DEBIAN_${key}_PACKAGE_DEPENDS ${sameVersion} PARENT_SCOPE)
  endif()
  install(FILES ${PROJECT_SOURCE_DIR}/LICENSE RENAME copyright
    DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/doc/${name} COMPONENT ${component})
endfunction()
debian_package(library libvxmkit${PROJECT_VERSION_MAJOR} libs
  "${PROJECT_DESCRIPTION} (shared library)")
install(FILES /usr/share/doc/libhwy-dev/copyright RENAME LICENSE.highway COMPONENT library
  DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/doc/libvxmkit${PROJECT_VERSION_MAJOR})
debian_package(development libvxmkit-dev libdevel
  "${PROJECT_DESCRIPTION} (header, CMake and pkg-config files)")
debian_package(tools vxmkit-tools utils
  "${PROJECT_DESCRIPTION} (programs vxm and vxm-explain)")
if(VXM_BUILD_POSTGRES)
  set(server postgresql-${VXM_POSTGRES_MAJOR})
  debian_package(postgres ${server}-vxmkit database
    "${PROJECT_DESCRIPTION} (extension of PostgreSQL ${VXM_POSTGRES_MAJOR})")
  string(APPEND CPACK_DEBIAN_POSTGRES_PACKAGE_DEPENDS ", ${server}")
  set(CPACK_DEBIAN_POSTGRES_PACKAGE_SUGGESTS vxmkit-doc)
endif()
debian_package(documents vxmkit-doc doc "${PROJECT_DESCRIPTION} (documents)")
set(CPACK_DEBIAN_DOCUMENTS_PACKAGE_ARCHITECTURE all)
install_documents(${CMAKE_INSTALL_DATAROOTDIR}/doc/vxmkit-doc)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SUGGESTS vxmkit-doc)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SUGGESTS vxmkit-doc)
if(CMAKE_CROSSCOMPILING)
  # dpkg-shlibdeps would name the packages of cross compilers. These are what it finds
  # for the same sources on this system; the documents are in its packages.
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS OFF)
  set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE ${VXM_DEBIAN_ARCHITECTURE})
  set(CPACK_DEBIAN_LIBRARY_PACKAGE_DEPENDS "libc6 (>= 2.34), libgcc-s1 (>= 3.0), libstdc++6 (>= 11)")
  string(APPEND CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS ", ${CPACK_DEBIAN_LIBRARY_PACKAGE_DEPENDS}")
  set(CPACK_COMPONENTS_ALL library development tools)
endif()
include(CPack)
