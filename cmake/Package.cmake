# Debian packages: the library with its private web server, the kit, their development files, the simulated device, the tools.

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL runtime development tools)
if(TARGET sdkapi-kit)
  list(APPEND CPACK_COMPONENTS_ALL kit kit-development)
endif()
if(TARGET sdkapi-simulator)
  list(APPEND CPACK_COMPONENTS_ALL simulator)
endif()
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "sdkapi developers <developers@sdkapi.example>")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR} ${PROJECT_BINARY_DIR}/src ${PROJECT_BINARY_DIR}/kit)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
if(CMAKE_SYSTEM_PROCESSOR STREQUAL aarch64)
  set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE arm64)
endif()

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libsdkapi1)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION
    "API server of a networked audio/video device\n The library gives a device program its HTTP, HTTPS and WebSocket interface.\n It brings its own build of the web server CivetWeb in a private folder.")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/packaging/triggers
                                               ${PROJECT_SOURCE_DIR}/packaging/shlibs)

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libsdkapi-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SHLIBDEPS OFF)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "libsdkapi1 (= ${PROJECT_VERSION})")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION
    "API server of a networked audio/video device (development files)\n Headers, pkg-config file and CMake package for device programs.")

set(CPACK_DEBIAN_KIT_PACKAGE_NAME libsdkapi-kit1)
set(CPACK_DEBIAN_KIT_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_KIT_PACKAGE_DEPENDS "libsdkapi1 (= ${PROJECT_VERSION})")
set(CPACK_COMPONENT_KIT_DESCRIPTION
    "default implementations of a device program's slots\n The kit brings accounts, uploads, archives, firmware, previews, events and a runner for device\n programs on the API server library.")
set(CPACK_DEBIAN_KIT_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/packaging/triggers ${PROJECT_SOURCE_DIR}/packaging/kit/shlibs)

set(CPACK_DEBIAN_KIT-DEVELOPMENT_PACKAGE_NAME libsdkapi-kit-dev)
set(CPACK_DEBIAN_KIT-DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_KIT-DEVELOPMENT_PACKAGE_SHLIBDEPS OFF)
set(CPACK_DEBIAN_KIT-DEVELOPMENT_PACKAGE_DEPENDS "libsdkapi-dev (= ${PROJECT_VERSION}), libsdkapi-kit1 (= ${PROJECT_VERSION})")
set(CPACK_COMPONENT_KIT-DEVELOPMENT_DESCRIPTION
    "default implementations of a device program's slots (development files)\n Headers, static library, pkg-config file and CMake targets for device programs.")

set(CPACK_DEBIAN_SIMULATOR_PACKAGE_NAME sdkapi-simulator)
set(CPACK_DEBIAN_SIMULATOR_PACKAGE_SECTION net)
set(CPACK_DEBIAN_SIMULATOR_PACKAGE_DEPENDS "libsdkapi1 (= ${PROJECT_VERSION}), libsdkapi-kit1 (= ${PROJECT_VERSION})")
set(CPACK_COMPONENT_SIMULATOR_DESCRIPTION
    "simulated audio/video device with the device API\n An eight-unit matrix without the hardware, with a web console, as a service.\n Clients of the API are developed and tested against it.")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME sdkapi-tools)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION net)
set(CPACK_DEBIAN_TOOLS_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SHLIBDEPS OFF)
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "python3 (>= 3.11), python3-httpx, python3-rich, python3-typer, python3-websockets")
set(CPACK_DEBIAN_TOOLS_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/packaging/tools/postinst ${PROJECT_SOURCE_DIR}/packaging/tools/prerm)
set(CPACK_COMPONENT_TOOLS_DESCRIPTION
    "command line, client library and conformance check for the device API\n Talks to networked audio/video devices: logins, users, files, firmware, previews, events.\n It also tells whether a running device speaks the interface, with a report.")

# What Debian asks of every package; left out of other installs.
function(sdkapi_package_file component folder file)
  install(FILES ${file} DESTINATION ${folder} COMPONENT ${component} EXCLUDE_FROM_ALL ${ARGN})
endfunction()

string(TIMESTAMP changelogDate "%a, %d %b %Y 00:00:00 +0000" UTC)
configure_file(packaging/changelog.in changelog @ONLY)
execute_process(COMMAND gzip -9nc INPUT_FILE ${PROJECT_BINARY_DIR}/changelog OUTPUT_FILE ${PROJECT_BINARY_DIR}/changelog.gz)
foreach(component IN LISTS CPACK_COMPONENTS_ALL)
  string(TOUPPER ${component} upper)
  set(folder ${CMAKE_INSTALL_DATADIR}/doc/${CPACK_DEBIAN_${upper}_PACKAGE_NAME})
  sdkapi_package_file(${component} ${folder} packaging/copyright)
  sdkapi_package_file(${component} ${folder} ${PROJECT_BINARY_DIR}/changelog.gz)
endforeach()
sdkapi_package_file(runtime ${CMAKE_INSTALL_DATADIR}/lintian/overrides packaging/libsdkapi1.lintian-overrides RENAME libsdkapi1)
if(TARGET sdkapi-kit)
  sdkapi_package_file(kit ${CMAKE_INSTALL_DATADIR}/lintian/overrides packaging/kit/libsdkapi-kit1.lintian-overrides RENAME libsdkapi-kit1)
endif()
if(TARGET sdkapi-simulator)
  execute_process(COMMAND gzip -9nc INPUT_FILE ${PROJECT_SOURCE_DIR}/packaging/sdkapi-simulator.1
                  OUTPUT_FILE ${PROJECT_BINARY_DIR}/sdkapi-simulator.1.gz)
  sdkapi_package_file(simulator ${CMAKE_INSTALL_MANDIR}/man1 ${PROJECT_BINARY_DIR}/sdkapi-simulator.1.gz)
  sdkapi_package_file(simulator lib/systemd/system packaging/sdkapi-simulator.service)
endif()

execute_process(COMMAND gzip -9nc INPUT_FILE ${PROJECT_SOURCE_DIR}/packaging/tools/sdkapi.1 OUTPUT_FILE ${PROJECT_BINARY_DIR}/sdkapi.1.gz)
sdkapi_package_file(tools ${CMAKE_INSTALL_MANDIR}/man1 ${PROJECT_BINARY_DIR}/sdkapi.1.gz)
sdkapi_package_file(tools ${CMAKE_INSTALL_DATADIR}/bash-completion/completions packaging/tools/sdkapi.bash RENAME sdkapi)
sdkapi_package_file(tools ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions packaging/tools/_sdkapi)
sdkapi_package_file(tools ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d packaging/tools/sdkapi.fish)
install(PROGRAMS packaging/tools/sdkapi DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tools EXCLUDE_FROM_ALL)
install(DIRECTORY tools/sdkapi_client tools/sdkapi_cli tools/sdkapi_check DESTINATION lib/python3/dist-packages COMPONENT tools EXCLUDE_FROM_ALL
        FILES_MATCHING PATTERN "*.py" PATTERN "py.typed" PATTERN "__pycache__" EXCLUDE PATTERN ".mypy_cache" EXCLUDE)

include(CPack)
