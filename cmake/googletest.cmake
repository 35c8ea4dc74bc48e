# GTest::gtest and GTest::gtest_main: those installed, or, where VXM_GTEST_SOURCES
# names the folder of GoogleTest's sources, built from them with this build's own
# compiler and flags, as sanitizers and cross compilers want.
set(VXM_GTEST_SOURCES "" CACHE PATH "GoogleTest's sources, to build instead of the installed library")

if(NOT VXM_GTEST_SOURCES)
  find_package(GTest REQUIRED)
  return()
endif()

find_package(Threads REQUIRED)
set(googletestDir ${VXM_GTEST_SOURCES}/googletest)
add_library(gtest STATIC EXCLUDE_FROM_ALL ${googletestDir}/src/gtest-all.cc)
target_include_directories(gtest SYSTEM PUBLIC ${googletestDir}/include PRIVATE ${googletestDir})
target_compile_options(gtest PRIVATE -w)
target_link_libraries(gtest PUBLIC Threads::Threads)
add_library(gtest_main STATIC EXCLUDE_FROM_ALL ${googletestDir}/src/gtest_main.cc)
target_link_libraries(gtest_main PUBLIC gtest)
target_compile_options(gtest_main PRIVATE -w)
add_library(GTest::gtest ALIAS gtest)
add_library(GTest::gtest_main ALIAS gtest_main)
