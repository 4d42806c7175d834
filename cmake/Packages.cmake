# The packages that `cpack` makes: a pair of Debian packages for each of DbmsAPI and historian and one of the program
# (preset package), and one zip for Windows.

set(CPACK_PACKAGE_NAME dbmsapi)
set(CPACK_PACKAGE_CONTACT "DbmsAPI developers <developers@dbmsapi.invalid>")
set(CPACK_RESOURCE_FILE_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR})
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL runtime development)
if(DBMSAPI_BUILD_HISTORIAN)
  list(APPEND CPACK_COMPONENTS_ALL historian_runtime historian_development)
endif()
if(TARGET historian_program)
  list(APPEND CPACK_COMPONENTS_ALL program)
endif()
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "Libraries that programs load.")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "Headers and what else building a program takes.")
set(CPACK_COMPONENT_HISTORIAN_RUNTIME_DESCRIPTION "Library historian: recorder, bulk load and queries over DbmsAPI.")
set(CPACK_COMPONENT_HISTORIAN_DEVELOPMENT_DESCRIPTION "Headers and what else building a program with historian takes.")
set(CPACK_COMPONENT_PROGRAM_DESCRIPTION "Program historian: loads, shows, exports and checks tag history.")

if(WIN32)
  set(CPACK_GENERATOR ZIP)
else()
  set(CPACK_GENERATOR DEB)
  set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
  set(CPACK_DEB_COMPONENT_INSTALL ON)
  set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
  set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libdbmsapi${PROJECT_VERSION_MAJOR})
  set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
  set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
  set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
  set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
  # Where dpkg-shlibdeps finds the project's own libraries, which need each other.
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/client ${PROJECT_BINARY_DIR}/DbmsAPI
      ${PROJECT_BINARY_DIR}/historian)
  set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libdbmsapi-dev)
  set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
  set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "libdbmsapi${PROJECT_VERSION_MAJOR} (= ${PROJECT_VERSION})")

  set(CPACK_DEBIAN_HISTORIAN_RUNTIME_PACKAGE_NAME libhistorian${PROJECT_VERSION_MAJOR})
  set(CPACK_DEBIAN_HISTORIAN_RUNTIME_PACKAGE_SECTION libs)
  set(CPACK_DEBIAN_HISTORIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
  # Written here, because dpkg-shlibdeps only knows libraries of installed packages.
  set(CPACK_DEBIAN_HISTORIAN_RUNTIME_PACKAGE_DEPENDS "libdbmsapi${PROJECT_VERSION_MAJOR} (= ${PROJECT_VERSION})")
  set(CPACK_DEBIAN_HISTORIAN_DEVELOPMENT_PACKAGE_NAME libhistorian-dev)
  set(CPACK_DEBIAN_HISTORIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
  set(CPACK_DEBIAN_HISTORIAN_DEVELOPMENT_PACKAGE_DEPENDS
      "libhistorian${PROJECT_VERSION_MAJOR} (= ${PROJECT_VERSION}), libdbmsapi-dev (= ${PROJECT_VERSION})")

  set(CPACK_DEBIAN_PROGRAM_PACKAGE_NAME historian)
  set(CPACK_DEBIAN_PROGRAM_PACKAGE_SECTION database)
  set(CPACK_DEBIAN_PROGRAM_PACKAGE_SHLIBDEPS ON)
  set(CPACK_DEBIAN_PROGRAM_PACKAGE_DEPENDS
      "libhistorian${PROJECT_VERSION_MAJOR} (= ${PROJECT_VERSION}), libdbmsapi${PROJECT_VERSION_MAJOR} (= ${PROJECT_VERSION})")
endif()
include(CPack)
