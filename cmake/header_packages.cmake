# Packages of headers alone (CLI11, nlohmann-json) that fit any system: those of
# this one serve a cross build too. They are led to from a folder of their own,
# since beside them lie headers that do not fit.
if(CMAKE_CROSSCOMPILING)
  set(headerDir ${PROJECT_BINARY_DIR}/headers)
  file(MAKE_DIRECTORY ${headerDir})
  function(take_header_package target header)
    get_filename_component(folder ${header} DIRECTORY)
    find_path(found_${folder} ${header}
      PATHS /usr/local/include /usr/include NO_CMAKE_FIND_ROOT_PATH REQUIRED)
    file(CREATE_LINK ${found_${folder}}/${folder} ${headerDir}/${folder} SYMBOLIC)
    add_library(${target} INTERFACE IMPORTED)
    target_include_directories(${target} SYSTEM INTERFACE ${headerDir})
  endfunction()
  take_header_package(CLI11::CLI11 CLI/CLI.hpp)
  take_header_package(nlohmann_json::nlohmann_json nlohmann/json.hpp)
else()
  find_package(CLI11 REQUIRED)
  find_package(nlohmann_json REQUIRED)
endif()
