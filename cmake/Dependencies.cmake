# What the project builds on; each is a package of the platform.

# libpq, the server's own client library; used by the client layer alone.
find_package(PostgreSQL REQUIRED)

# Text formatting where the standard library has no <format>.
include(CheckCXXSourceCompiles)
set(CMAKE_REQUIRED_FLAGS "-std=c++20")
check_cxx_source_compiles(
  "#include <format>\nint main() { return std::format(L\"{}\", 1).size() == 1 ? 0 : 1; }" DBMSAPI_HAVE_STD_FORMAT)
unset(CMAKE_REQUIRED_FLAGS)
if(NOT DBMSAPI_HAVE_STD_FORMAT)
  find_package(fmt REQUIRED)
endif()

# UTF-8 conversion where the platform has none of its own.
if(NOT WIN32)
  find_package(utf8cpp REQUIRED)
endif()

if(DBMSAPI_BUILD_TESTS)
  find_package(GTest REQUIRED)
endif()
if(DBMSAPI_BUILD_BENCHMARKS)
  find_package(benchmark REQUIRED)
endif()
find_package(Threads REQUIRED)
