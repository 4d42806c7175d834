# The vendor's client library in place of client/: SQLAPI_ROOT names the folder with its include/ and lib/. If it is
# laid out differently, SQLAPI_INCLUDE_DIR and SQLAPI_LIBRARY (on Windows the import library) name the two.
#
# Installed too: a project that uses a DbmsAPI built this way needs the same library.

set(SQLAPI_ROOT "" CACHE PATH "Folder of the vendor's client library")
find_path(SQLAPI_INCLUDE_DIR SQLAPI.h HINTS ${SQLAPI_ROOT}/include NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH)
find_library(SQLAPI_LIBRARY NAMES sqlapiu sqlapi HINTS ${SQLAPI_ROOT}/lib NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH)
if(NOT SQLAPI_INCLUDE_DIR OR NOT SQLAPI_LIBRARY)
  message(FATAL_ERROR "SQLAPI_ROOT=\"${SQLAPI_ROOT}\" holds no include/SQLAPI.h or no library in lib/")
endif()

if(NOT TARGET sqlapi)
  add_library(sqlapi UNKNOWN IMPORTED GLOBAL)
  set_target_properties(sqlapi PROPERTIES IMPORTED_LOCATION ${SQLAPI_LIBRARY}
                                          INTERFACE_INCLUDE_DIRECTORIES ${SQLAPI_INCLUDE_DIR})
endif()
