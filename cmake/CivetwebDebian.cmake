# CivetWeb from Debian's source package, built with OpenSSL 3, WebSockets and worker stacks of 1 MiB.

set(SDKAPI_CIVETWEB_DIR ${SDKAPI_DEPS_DIR}/civetweb)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS scripts/fetch-civetweb)
execute_process(COMMAND ${PROJECT_SOURCE_DIR}/scripts/fetch-civetweb ${SDKAPI_CIVETWEB_DIR} RESULT_VARIABLE failed)
if(failed)
  message(FATAL_ERROR "CivetWeb's source cannot be had. With network access to a Debian mirror this step works by "
                      "itself; else set SDKAPI_CIVETWEB=system and bring your own build.")
endif()
set(SDKAPI_CIVETWEB_SOURCE ${SDKAPI_CIVETWEB_DIR}/source)
file(READ ${SDKAPI_CIVETWEB_DIR}/origin origin)
string(STRIP "${origin}" origin)
string(REGEX REPLACE " .*" "" SDKAPI_CIVETWEB_VERSION "${origin}")
message(STATUS "CivetWeb: ${origin} (Debian source package)")

# Debian's change log names the holes that its patches close.
file(READ ${SDKAPI_CIVETWEB_SOURCE}/debian/changelog changes)
foreach(hole CVE-2025-55763 CVE-2025-9648)
  if(NOT changes MATCHES ${hole})
    message(WARNING "CivetWeb ${SDKAPI_CIVETWEB_VERSION} does not fix ${hole}. Do not ship this build.")
  endif()
endforeach()

add_library(civetweb SHARED ${SDKAPI_CIVETWEB_SOURCE}/src/civetweb.c
                            ${PROJECT_SOURCE_DIR}/cmake/civetweb/tls_guard.c)
# Every TLS call goes through a lock per TLS object: reads and writes happen on different threads.
set_source_files_properties(
  ${SDKAPI_CIVETWEB_SOURCE}/src/civetweb.c TARGET_DIRECTORY civetweb
  PROPERTIES COMPILE_DEFINITIONS
             "SSL_new=sdkapi_tls_new;SSL_read=sdkapi_tls_read;SSL_write=sdkapi_tls_write;SSL_pending=sdkapi_tls_pending;SSL_shutdown=sdkapi_tls_shutdown;SSL_get_error=sdkapi_tls_get_error"
             COMPILE_OPTIONS "-w")
# The quantum is how often a sleeping connection looks whether the server is to stop.
target_compile_definitions(
  civetweb PRIVATE OPENSSL_API_3_0 NO_SSL_DL USE_WEBSOCKET USE_IPV6 NO_CGI USE_STACK_SIZE=1048576 SOCKET_TIMEOUT_QUANTUM=500
                   $<$<CONFIG:Release>:NDEBUG>)
target_include_directories(
  civetweb PUBLIC $<BUILD_INTERFACE:${SDKAPI_CIVETWEB_SOURCE}/include>
                  $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/sdkapi/civetweb>)
find_package(Threads REQUIRED)
target_link_libraries(civetweb PRIVATE OpenSSL::SSL OpenSSL::Crypto Threads::Threads ${CMAKE_DL_LIBS})
sdkapi_harden(civetweb)
# A name of its own: a host's process must not mix it up with another CivetWeb on the system.
set_target_properties(civetweb PROPERTIES OUTPUT_NAME sdkapi-civetweb VERSION 1.16.0 SOVERSION 1)

add_library(sdkapi_civetweb_headers INTERFACE)
target_include_directories(sdkapi_civetweb_headers INTERFACE ${SDKAPI_CIVETWEB_SOURCE}/include)

install(TARGETS civetweb EXPORT sdkapi LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/sdkapi COMPONENT runtime NAMELINK_SKIP)
install(FILES ${SDKAPI_CIVETWEB_SOURCE}/include/civetweb.h
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/sdkapi/civetweb COMPONENT development)

# A host that calls the web server itself looks for it in the private folder, wherever the tree was moved.
target_link_options(civetweb INTERFACE $<INSTALL_INTERFACE:-Wl,-rpath,$<INSTALL_PREFIX>/${CMAKE_INSTALL_LIBDIR}/sdkapi>)
# The way through pkgconfig/.. serves a moved tree, the other one a device without development files.
string(CONCAT SDKAPI_PC_LIBS "-L\${libdir}/sdkapi -l:libsdkapi-civetweb.so.1 -Wl,-rpath,\${libdir}/sdkapi "
                             "-Wl,-rpath,${CMAKE_INSTALL_FULL_LIBDIR}/sdkapi")
set(SDKAPI_PC_CFLAGS -I\${includedir}/sdkapi/civetweb)
