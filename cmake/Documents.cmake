# The documents that are installed: licence, changes, texts, examples. Debian packages have a directory each, with the
# names that Debian's policy gives; a private prefix and the zip have one for all.

# dbmsapi_install_documents(COMPONENT PACKAGE [FILE...])
function(dbmsapi_install_documents component package)
  if(CMAKE_INSTALL_PREFIX STREQUAL "/usr")
    set(directory ${CMAKE_INSTALL_DATADIR}/doc/${package})
    install(FILES ${PROJECT_BINARY_DIR}/changelog.gz DESTINATION ${directory} COMPONENT ${component})
  else()
    set(directory ${CMAKE_INSTALL_DOCDIR})
    install(FILES ${PROJECT_SOURCE_DIR}/LICENSE ${PROJECT_SOURCE_DIR}/CHANGELOG.md DESTINATION ${directory}
            COMPONENT ${component})
  endif()
  install(FILES ${PROJECT_SOURCE_DIR}/cmake/copyright DESTINATION ${directory} COMPONENT ${component})
  foreach(file ${ARGN})
    get_filename_component(folder ${file} DIRECTORY)
    install(FILES ${PROJECT_SOURCE_DIR}/${file} DESTINATION ${directory}/${folder} COMPONENT ${component})
  endforeach()
endfunction()

if(CMAKE_INSTALL_PREFIX STREQUAL "/usr")
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS CHANGELOG.md)
  # Without the time of the build: the same sources make the same package.
  execute_process(COMMAND gzip -9 -n --stdout ${PROJECT_SOURCE_DIR}/CHANGELOG.md
                  OUTPUT_FILE ${PROJECT_BINARY_DIR}/changelog.gz COMMAND_ERROR_IS_FATAL ANY)
endif()

file(GLOB documents RELATIVE ${PROJECT_SOURCE_DIR} CONFIGURE_DEPENDS docs/*.md docs/*.sql docs/*/*)
dbmsapi_install_documents(runtime libdbmsapi${PROJECT_VERSION_MAJOR})
dbmsapi_install_documents(development libdbmsapi-dev README.md ${documents} examples/first_steps.cpp
                          examples/operator_station.cpp)
if(DBMSAPI_BUILD_HISTORIAN)
  dbmsapi_install_documents(historian_runtime libhistorian${PROJECT_VERSION_MAJOR})
  dbmsapi_install_documents(historian_development libhistorian-dev docs/historian.md examples/keep_recording.cpp
                            examples/recorder.cpp)
endif()
if(TARGET historian_program)
  dbmsapi_install_documents(program historian docs/program.md docs/schema.md docs/historian.md)
endif()
