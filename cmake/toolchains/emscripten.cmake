# WebAssembly, by emscripten where its compiler lies in the path.
find_program(emcc emcc REQUIRED)
file(REAL_PATH ${emcc} emcc)
get_filename_component(emscripten ${emcc} DIRECTORY)
find_file(platform cmake/Modules/Platform/Emscripten.cmake
  HINTS ${emscripten} /usr/share/emscripten REQUIRED NO_CMAKE_FIND_ROOT_PATH)
include(${platform})
