# The pinned CivetWeb with our patches, built with OpenSSL 3, WebSockets and worker stacks of 1 MiB.

set(SDKAPI_CIVETWEB_SOURCE "" CACHE FILEPATH "CivetWeb's source archive, for a build without a mirror; the pin's hash decides")
set(SDKAPI_CIVETWEB_DIR ${SDKAPI_DEPS_DIR}/civetweb)
set(SDKAPI_CIVETWEB_TREE ${SDKAPI_CIVETWEB_DIR}/source)

file(GLOB patches CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/cmake/civetweb/patches/*.patch)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS scripts/civetweb cmake/civetweb/pin ${patches})
set(prepare ${PROJECT_SOURCE_DIR}/scripts/civetweb --prepare ${SDKAPI_CIVETWEB_DIR})
if(SDKAPI_CIVETWEB_SOURCE)
  set(prepare ${CMAKE_COMMAND} -E env SDKAPI_CIVETWEB_SOURCE=${SDKAPI_CIVETWEB_SOURCE} ${prepare})
endif()
execute_process(COMMAND ${prepare} RESULT_VARIABLE failed)
if(failed)
  message(FATAL_ERROR "CivetWeb's source cannot be had; the line above says why. No other version is built in its place.")
endif()

file(STRINGS ${PROJECT_SOURCE_DIR}/cmake/civetweb/pin version REGEX "^version ")
string(REPLACE "version " "" SDKAPI_CIVETWEB_VERSION "${version}")
list(LENGTH patches patchCount)
message(STATUS "CivetWeb: ${SDKAPI_CIVETWEB_VERSION} (pinned, ${patchCount} patches)")

# What every build of CivetWeb's source is compiled with, the fuzz targets' too.
# The quantum is how often a sleeping connection looks whether the server is to stop.
set(SDKAPI_CIVETWEB_DEFINITIONS OPENSSL_API_3_0 NO_SSL_DL USE_WEBSOCKET USE_IPV6 NO_CGI USE_STACK_SIZE=1048576
                                SOCKET_TIMEOUT_QUANTUM=500 REENTRANT_TIME)
# Every TLS call goes through a lock per TLS object: reads and writes happen on different threads.
set(SDKAPI_CIVETWEB_TLS_NAMES
    SSL_new=sdkapi_tls_new SSL_read=sdkapi_tls_read SSL_write=sdkapi_tls_write
    SSL_has_pending=sdkapi_tls_has_pending
    SSL_shutdown=sdkapi_tls_shutdown SSL_get_error=sdkapi_tls_get_error)

add_library(civetweb SHARED ${SDKAPI_CIVETWEB_TREE}/src/civetweb.c
                            ${PROJECT_SOURCE_DIR}/cmake/civetweb/tls_guard.c)
set_source_files_properties(
  ${SDKAPI_CIVETWEB_TREE}/src/civetweb.c TARGET_DIRECTORY civetweb
  PROPERTIES COMPILE_DEFINITIONS "${SDKAPI_CIVETWEB_TLS_NAMES}" COMPILE_OPTIONS "-w")
target_compile_definitions(civetweb PRIVATE ${SDKAPI_CIVETWEB_DEFINITIONS} $<$<CONFIG:Release>:NDEBUG>)
target_include_directories(
  civetweb PUBLIC $<BUILD_INTERFACE:${SDKAPI_CIVETWEB_TREE}/include>
                  $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/sdkapi/civetweb>)
find_package(Threads REQUIRED)
target_link_libraries(civetweb PRIVATE OpenSSL::SSL OpenSSL::Crypto Threads::Threads ${CMAKE_DL_LIBS})
sdkapi_harden(civetweb)
# A name of its own: a host's process must not mix it up with another CivetWeb on the system.
set_target_properties(civetweb PROPERTIES OUTPUT_NAME sdkapi-civetweb VERSION ${SDKAPI_CIVETWEB_VERSION}.${patchCount}
                                          SOVERSION 1)

add_library(sdkapi_civetweb_headers INTERFACE)
target_include_directories(sdkapi_civetweb_headers INTERFACE ${SDKAPI_CIVETWEB_TREE}/include)

# Away from other libraries, or, where no host shall need a search path of its own, among them.
set(SDKAPI_CIVETWEB_LIBDIR ${CMAKE_INSTALL_LIBDIR}/sdkapi CACHE STRING "Folder below the prefix for the built CivetWeb")
install(TARGETS civetweb EXPORT sdkapi LIBRARY DESTINATION ${SDKAPI_CIVETWEB_LIBDIR} COMPONENT runtime NAMELINK_SKIP)
install(FILES ${SDKAPI_CIVETWEB_TREE}/include/civetweb.h
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/sdkapi/civetweb COMPONENT development)

set(SDKAPI_PC_CFLAGS -I\${includedir}/sdkapi/civetweb)
set(SDKAPI_PC_LIBS -l:libsdkapi-civetweb.so.1)
if(NOT SDKAPI_CIVETWEB_LIBDIR STREQUAL CMAKE_INSTALL_LIBDIR)
  set(SDKAPI_RPATH "$ORIGIN" "$ORIGIN/sdkapi")
  # A host that calls the web server itself looks for it in the private folder, wherever the tree was moved.
  target_link_options(civetweb INTERFACE $<INSTALL_INTERFACE:-Wl,-rpath,$<INSTALL_PREFIX>/${SDKAPI_CIVETWEB_LIBDIR}>)
  # The way through pkgconfig/.. serves a moved tree, the other one a device without development files.
  string(CONCAT SDKAPI_PC_LIBS "-L\${libdir}/sdkapi -l:libsdkapi-civetweb.so.1 -Wl,-rpath,\${libdir}/sdkapi "
                               "-Wl,-rpath,${CMAKE_INSTALL_FULL_LIBDIR}/sdkapi")
endif()
