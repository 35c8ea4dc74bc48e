# The warnings that this code is kept free of. They become errors where
# CMAKE_COMPILE_WARNING_AS_ERROR is set, as in the presets for development; a
# release builds with whatever a newer compiler may have to say.
if(CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang")
  add_compile_options(
    -Wall -Wextra -Wpedantic
    -Wconversion -Wshadow -Wundef -Wcast-align -Wcast-qual -Wformat=2
    $<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast>
    $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor>
    $<$<COMPILE_LANGUAGE:CXX>:-Woverloaded-virtual>)
endif()
