# The DLLs of the C++ runtime, which a program built by MinGW-w64 needs beside it. The runtime is not linked
# statically into each module, because exceptions that cross modules would then be miscounted.

set(DBMSAPI_CXX_RUNTIME)
foreach(library libstdc++-6 libgcc_s_seh-1 libwinpthread-1)
  execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${library}.dll OUTPUT_VARIABLE path
                  OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  if(NOT IS_ABSOLUTE ${path})
    message(FATAL_ERROR "${CMAKE_CXX_COMPILER} has no ${library}.dll")
  endif()
  list(APPEND DBMSAPI_CXX_RUNTIME ${path})
endforeach()

# Programs of the build folder find libpq beside them too; it is not installed.
file(GLOB libpq_and_its_own ${DBMSAPI_WINDOWS_ROOT}/bin/*.dll)
file(COPY ${DBMSAPI_CXX_RUNTIME} ${libpq_and_its_own} DESTINATION ${CMAKE_RUNTIME_OUTPUT_DIRECTORY})
