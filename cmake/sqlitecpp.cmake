# SQLiteCpp, in which galleries are kept: the one installed, or, where
# VXM_SQLITE_SOURCES names the folder of `scripts/sqlite-sources`, built with SQLite
# from its sources by this build's own compiler and flags, as cross compilers want.
set(VXM_SQLITE_SOURCES "" CACHE PATH "Sources of SQLite and SQLiteCpp, to build instead of the installed ones")

if(NOT VXM_SQLITE_SOURCES)
  find_package(SQLiteCpp QUIET ONLY_CMAKE_FIND_ROOT_PATH)
  return()
endif()

file(GLOB sources ${VXM_SQLITE_SOURCES}/sqlitecpp/src/*.cpp)
if(NOT sources OR NOT EXISTS ${VXM_SQLITE_SOURCES}/sqlite/sqlite3.c)
  message(FATAL_ERROR "No sources of SQLite in ${VXM_SQLITE_SOURCES}: scripts/sqlite-sources")
endif()
add_library(sqlite3 STATIC EXCLUDE_FROM_ALL ${VXM_SQLITE_SOURCES}/sqlite/sqlite3.c)
target_include_directories(sqlite3 SYSTEM PUBLIC ${VXM_SQLITE_SOURCES}/sqlite)
target_compile_options(sqlite3 PRIVATE -w)
add_library(SQLiteCpp STATIC EXCLUDE_FROM_ALL ${sources})
target_include_directories(SQLiteCpp SYSTEM PUBLIC ${VXM_SQLITE_SOURCES}/sqlitecpp/include)
target_compile_options(SQLiteCpp PRIVATE -w)
target_link_libraries(SQLiteCpp PUBLIC sqlite3)
set(SQLiteCpp_FOUND TRUE)
