# The warnings that this code is kept free of. They become errors where
# CMAKE_COMPILE_WARNING_AS_ERROR is set, as in the presets for development; a
# release builds with whatever a newer compiler may have to say.
if(CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang")
  add_compile_options(
    "$<$<COMPILE_LANGUAGE:C,CXX>:-Wall;-Wextra;-Wpedantic>"
    "$<$<COMPILE_LANGUAGE:C,CXX>:-Wconversion;-Wshadow;-Wundef;-Wcast-align;-Wcast-qual;-Wformat=2>"
    $<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast>
    $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor>
    $<$<COMPILE_LANGUAGE:CXX>:-Woverloaded-virtual>
    # Conditions are joined by & where a branch would be foretold badly; and
    # -Wconversion is to mean what it means to g++.
    "$<$<COMPILE_LANG_AND_ID:CXX,Clang>:-Wno-bitwise-instead-of-logical;-Wno-sign-conversion>")
endif()
