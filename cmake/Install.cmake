# What `cmake --install` installs besides documents: headers, libraries, the program, a CMake package and pkg-config files.

include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/DbmsAPI)

set(libraries DbmsAPI)
if(DBMSAPI_SQLAPI STREQUAL "builtin")
  list(APPEND libraries sqlapi)
  install(FILES client/include/SQLAPI.h client/include/SQLAPIExport.h client/include/SQLAPITypes.h
                client/include/pgAPI.h
          DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)
endif()
# The libraries find each other in the directory they are in.
if(UNIX)
  set_target_properties(DbmsAPI PROPERTIES INSTALL_RPATH $ORIGIN)
  if(DBMSAPI_BUILD_HISTORIAN)
    set_target_properties(historian PROPERTIES INSTALL_RPATH $ORIGIN)
  endif()
endif()
install(TARGETS ${libraries} EXPORT DbmsAPITargets
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development
        INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

if(MINGW)
  install(FILES ${DBMSAPI_CXX_RUNTIME} DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime)
endif()

install(FILES DbmsAPI/Dbms.h DbmsAPI/Diagnostics.h DbmsAPI/Export.h DbmsAPI/ConfigTypes.h DbmsAPI/HistoryTypes.h
              DbmsAPI/RecordTypes.h DbmsAPI/ReportTypes.h
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/DbmsAPI COMPONENT development)

install(EXPORT DbmsAPITargets NAMESPACE DbmsAPI:: DESTINATION ${package_dir} COMPONENT development)
configure_package_config_file(cmake/DbmsAPIConfig.cmake.in ${PROJECT_BINARY_DIR}/DbmsAPIConfig.cmake
                              INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/DbmsAPIConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/DbmsAPIConfig.cmake ${PROJECT_BINARY_DIR}/DbmsAPIConfigVersion.cmake
        DESTINATION ${package_dir} COMPONENT development)
if(DBMSAPI_SQLAPI STREQUAL "vendor")
  install(FILES cmake/VendorClient.cmake DESTINATION ${package_dir} COMPONENT development)
endif()

set(pkgconfig_dir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
file(RELATIVE_PATH pkgconfig_to_prefix /${pkgconfig_dir} /)
string(REGEX REPLACE "/$" "" pkgconfig_to_prefix ${pkgconfig_to_prefix})
set(pkgconfig_client_library -lsqlapi)
if(DBMSAPI_SQLAPI STREQUAL "vendor")
  set(pkgconfig_client_library ${SQLAPI_LIBRARY})
  set(pkgconfig_client_headers " -I${SQLAPI_INCLUDE_DIR}")
endif()
configure_file(cmake/DbmsAPI.pc.in ${PROJECT_BINARY_DIR}/DbmsAPI.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/DbmsAPI.pc DESTINATION ${pkgconfig_dir} COMPONENT development)

if(DBMSAPI_BUILD_HISTORIAN)
  install(TARGETS historian EXPORT historianTargets
          RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT historian_runtime
          LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT historian_runtime
                  NAMELINK_COMPONENT historian_development
          ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT historian_development
          INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
  install(FILES historian/Backfill.h historian/Error.h historian/Export.h historian/Health.h
                historian/Time.h historian/Trend.h
          DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/historian COMPONENT historian_development)
  if(SQLite3_FOUND)
    install(FILES historian/Recorder.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/historian
            COMPONENT historian_development)
  endif()
  install(EXPORT historianTargets NAMESPACE DbmsAPI:: DESTINATION ${package_dir} COMPONENT historian_development)
  configure_file(cmake/historian.pc.in ${PROJECT_BINARY_DIR}/historian.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/historian.pc DESTINATION ${pkgconfig_dir} COMPONENT historian_development)
endif()

if(TARGET historian_program)
  if(UNIX)
    set_target_properties(historian_program PROPERTIES INSTALL_RPATH $ORIGIN/../${CMAKE_INSTALL_LIBDIR})
  endif()
  install(TARGETS historian_program RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT program)
endif()
if(TARGET historian_manual)
  install(DIRECTORY ${PROJECT_BINARY_DIR}/historian/command/manual/ DESTINATION ${CMAKE_INSTALL_MANDIR}/man1
          COMPONENT program FILES_MATCHING PATTERN "*.1.gz")
  install(FILES ${PROJECT_BINARY_DIR}/historian/command/manual/historian.bash
          DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME historian COMPONENT program)
endif()
