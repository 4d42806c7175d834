# Settings of every target.

set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(platform posix)  # the name of the directories of sources that differ between platforms
if(WIN32)
  set(platform windows)
  enable_language(RC)
  # Windows looks for libraries beside the program.
  set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)
endif()

function(dbmsapi_defaults target)
  target_compile_features(${target} PUBLIC cxx_std_20)
  set_target_properties(${target} PROPERTIES CXX_EXTENSIONS OFF CXX_VISIBILITY_PRESET hidden
                                             VISIBILITY_INLINES_HIDDEN ON)
  if(WIN32)
    target_compile_definitions(${target} PRIVATE UNICODE _UNICODE NOMINMAX WIN32_LEAN_AND_MEAN _WIN32_WINNT=0x0A00)
  endif()
  if(MSVC)
    target_compile_options(${target} PRIVATE /W4 /utf-8 $<$<BOOL:${DBMSAPI_WARNINGS_AS_ERRORS}>:/WX>)
    return()
  endif()
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion
                                           -Wnon-virtual-dtor -Woverloaded-virtual)
  if(DBMSAPI_WARNINGS_AS_ERRORS)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
  # Hardens release builds as Debian hardens its packages, and binds all symbols at start. _FORTIFY_SOURCE
  # needs the optimiser; the sanitizers check more than it does.
  if(NOT WIN32 AND NOT DBMSAPI_SANITIZE)
    target_compile_options(${target} PRIVATE
      "$<$<NOT:$<CONFIG:Debug>>:-fstack-protector-strong;-Wformat;-Wformat-security;-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=2>")
    target_link_options(${target} PRIVATE "$<$<NOT:$<CONFIG:Debug>>:LINKER:-z,relro;LINKER:-z,now>")
  endif()
  if(DBMSAPI_SANITIZE)
    target_compile_options(${target} PRIVATE -fsanitize=${DBMSAPI_SANITIZE} -fno-omit-frame-pointer
                                             -fno-sanitize-recover=all)
    target_link_options(${target} PUBLIC -fsanitize=${DBMSAPI_SANITIZE})
  endif()
endfunction()

# The file name and version of a shared library.
function(dbmsapi_shared_library target description)
  dbmsapi_defaults(${target})
  set_target_properties(${target} PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR})
  if(WIN32)
    set_target_properties(${target} PROPERTIES PREFIX "")
    configure_file(${PROJECT_SOURCE_DIR}/cmake/Version.rc.in ${CMAKE_CURRENT_BINARY_DIR}/${target}.rc @ONLY)
    target_sources(${target} PRIVATE ${CMAKE_CURRENT_BINARY_DIR}/${target}.rc)
  endif()
endfunction()
