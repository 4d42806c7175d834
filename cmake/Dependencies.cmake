# What the project builds on; each is a package of the platform.

# libpq, the server's own client library; used by the client layer alone.
if(DBMSAPI_SQLAPI STREQUAL "builtin")
  find_package(PostgreSQL REQUIRED)
endif()

# Text formatting where the standard library has no <format>.
include(CheckCXXSourceCompiles)
set(CMAKE_REQUIRED_FLAGS "-std=c++20")
if(MSVC)
  set(CMAKE_REQUIRED_FLAGS "/std:c++20")
endif()
check_cxx_source_compiles(
  "#include <format>\nint main() { return std::format(L\"{}\", 1).size() == 1 ? 0 : 1; }" DBMSAPI_HAVE_STD_FORMAT)
unset(CMAKE_REQUIRED_FLAGS)
if(NOT DBMSAPI_HAVE_STD_FORMAT)
  find_path(DBMSAPI_FMT_INCLUDE_DIR fmt/format.h REQUIRED)
  add_library(fmt::fmt-header-only INTERFACE IMPORTED)
  target_include_directories(fmt::fmt-header-only INTERFACE ${DBMSAPI_FMT_INCLUDE_DIR})
endif()

# UTF-8 conversion where the platform has none of its own.
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
