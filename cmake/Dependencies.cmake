# The libraries that the project needs; each is a package of the platform.

# libpq, PostgreSQL's client library; only the client layer uses it.
if(DBMSAPI_SQLAPI STREQUAL "builtin")
  find_package(PostgreSQL REQUIRED)
endif()

# Text formatting; g++ 12 and clang 14 have no <format>.
find_path(DBMSAPI_FMT_INCLUDE_DIR fmt/format.h REQUIRED)
add_library(fmt::fmt-header-only INTERFACE IMPORTED)
target_include_directories(fmt::fmt-header-only INTERFACE ${DBMSAPI_FMT_INCLUDE_DIR})

# UTF-8 conversion; Windows has functions of its own for it.
if(NOT WIN32)
  find_package(utf8cpp REQUIRED)
endif()

set(DBMSAPI_GOOGLETEST_SOURCE "" CACHE PATH "Source directory of GoogleTest to build; if empty, the installed one is used")
if(DBMSAPI_BUILD_TESTS)
  if(DBMSAPI_GOOGLETEST_SOURCE)
    set(INSTALL_GTEST OFF)
    set(BUILD_GMOCK OFF)
    add_subdirectory(${DBMSAPI_GOOGLETEST_SOURCE} ${PROJECT_BINARY_DIR}/googletest EXCLUDE_FROM_ALL)
    target_compile_options(gtest PRIVATE $<$<BOOL:${CMAKE_CROSSCOMPILING}>:-O0>)
  else()
    find_package(GTest REQUIRED)
  endif()
endif()
if(DBMSAPI_BUILD_BENCHMARKS)
  find_package(benchmark REQUIRED)
endif()
find_package(Threads REQUIRED)

# The recorder's spool.
if(DBMSAPI_BUILD_HISTORIAN)
  if(CMAKE_CROSSCOMPILING)
    find_package(SQLite3)
  else()
    find_package(SQLite3 REQUIRED)
  endif()
endif()
