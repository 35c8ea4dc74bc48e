# Highway's headers, with which the vector forms of the inner loops are written; nothing
# of it is linked. Compilers for other systems find it too, for it holds no code of any
# one system; a folder with these headers alone keeps the other headers beside them away.
find_path(VXM_HIGHWAY hwy/highway.h
  PATHS /usr/local/include /usr/include NO_CMAKE_FIND_ROOT_PATH
  DOC "Folder that holds hwy/highway.h")
if(NOT VXM_HIGHWAY)
  message(FATAL_ERROR "Highway's headers are missing (Debian's libhwy-dev; or name their "
    "folder by -DVXM_HIGHWAY=). -DVXM_VECTORS=OFF builds the portable form alone, many "
    "times slower.")
endif()
set(VXM_HIGHWAY_HEADERS ${CMAKE_CURRENT_BINARY_DIR}/highway)
file(MAKE_DIRECTORY ${VXM_HIGHWAY_HEADERS})
file(CREATE_LINK ${VXM_HIGHWAY}/hwy ${VXM_HIGHWAY_HEADERS}/hwy SYMBOLIC)
