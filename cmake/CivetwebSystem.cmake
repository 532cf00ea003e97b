# CivetWeb as the integrator brings it: version 1.14 or newer, found by CMake or pkg-config.

include(${CMAKE_CURRENT_LIST_DIR}/CivetwebFind.cmake)
add_library(civetweb ALIAS ${sdkapiCivetwebTarget})

include(CheckCXXSourceCompiles)
set(CMAKE_REQUIRED_LIBRARIES civetweb)
check_cxx_source_compiles("#include <civetweb.h>
int main() { mg_disable_connection_keep_alive(nullptr); }" SDKAPI_CIVETWEB_ENDS_CONNECTIONS)
if(NOT SDKAPI_CIVETWEB_ENDS_CONNECTIONS)
  message(FATAL_ERROR "CivetWeb is too old: mg_disable_connection_keep_alive (1.14) is needed")
endif()

# A build for another OpenSSL crashes on its first HTTPS request; better to know now.
if(NOT CMAKE_CROSSCOMPILING AND NOT DEFINED SDKAPI_CIVETWEB_TLS_WORKS)
  message(STATUS "CivetWeb: trying HTTPS")
  try_run(tlsRun tlsCompiled ${CMAKE_BINARY_DIR}/tls-check ${PROJECT_SOURCE_DIR}/cmake/civetweb/tls_check.cpp
          LINK_LIBRARIES civetweb OpenSSL::SSL OpenSSL::Crypto CXX_STANDARD 20
          RUN_OUTPUT_VARIABLE tlsOutput)
  if(tlsCompiled AND tlsRun EQUAL 0)
    set(SDKAPI_CIVETWEB_TLS_WORKS ON CACHE INTERNAL "HTTPS works with this CivetWeb")
  else()
    set(SDKAPI_CIVETWEB_TLS_WORKS OFF CACHE INTERNAL "HTTPS works with this CivetWeb")
  endif()
endif()
if(NOT SDKAPI_CIVETWEB_TLS_WORKS)
  message(WARNING "This CivetWeb's HTTPS does not work with the installed OpenSSL: HTTPS ports will be refused.")
endif()
message(STATUS "CivetWeb: as found on this system; its holes and its thread stacks are the integrator's care")

add_library(sdkapi_civetweb_headers INTERFACE)

target_include_directories(sdkapi_civetweb_headers
                           INTERFACE $<TARGET_PROPERTY:civetweb,INTERFACE_INCLUDE_DIRECTORIES>)

# What an installed tree tells its hosts about this CivetWeb.
set(SDKAPI_CONFIG_CIVETWEB "include(\${CMAKE_CURRENT_LIST_DIR}/CivetwebFind.cmake)")
install(FILES ${PROJECT_SOURCE_DIR}/cmake/CivetwebFind.cmake DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/sdkapi COMPONENT development)
if(CIVETWEB_FOUND)
  set(SDKAPI_PC_REQUIRES civetweb)
else()
  set(SDKAPI_PC_LIBS -lcivetweb)
endif()
