# What an installed tree holds beside the libraries: headers, pkg-config file, CMake package.
include(CMakePackageConfigHelpers)

install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/sdkapi DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development
        FILES_MATCHING PATTERN "*.h" PATTERN "kit*.h" EXCLUDE)

# The way from the library folder up to the prefix, so that an installed tree can be moved.
string(REGEX REPLACE "[^/]+" ".." libdirUp ${CMAKE_INSTALL_LIBDIR})
# A tree of the system's stays where it is, and can be a part of a sysroot.
set(SDKAPI_PC_PREFIX "\${pcfiledir}/../${libdirUp}")
set(SDKAPI_PC_LIBDIR "\${pcfiledir}/..")
if(CMAKE_INSTALL_PREFIX STREQUAL "/usr")
  set(SDKAPI_PC_PREFIX /usr)
  set(SDKAPI_PC_LIBDIR "\${prefix}/${CMAKE_INSTALL_LIBDIR}")
endif()
configure_file(cmake/sdkapi.pc.in sdkapi.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/sdkapi.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)

set(packageFolder ${CMAKE_INSTALL_LIBDIR}/cmake/sdkapi)
configure_package_config_file(cmake/sdkapi-config.cmake.in sdkapi-config.cmake INSTALL_DESTINATION ${packageFolder})
write_basic_package_version_file(sdkapi-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/sdkapi-config.cmake ${PROJECT_BINARY_DIR}/sdkapi-config-version.cmake
        DESTINATION ${packageFolder} COMPONENT development)
# Not "sdkapi.cmake", which would take every "sdkapi-*.cmake" beside it for one of its configurations.
install(EXPORT sdkapi FILE targets.cmake NAMESPACE sdkapi:: DESTINATION ${packageFolder} COMPONENT development)
