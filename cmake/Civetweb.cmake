# The web server: the pinned source built here, or what the integrator brings.
#
# Makes the target `civetweb` (what the library links) and `sdkapi_civetweb_headers` (its headers alone).

set(SDKAPI_CIVETWEB pinned CACHE STRING "Where CivetWeb comes from: pinned (fetched, verified, patched) or system")
set_property(CACHE SDKAPI_CIVETWEB PROPERTY STRINGS pinned system)
set(SDKAPI_DEPS_DIR ${PROJECT_SOURCE_DIR}/build/deps CACHE PATH "Folder that keeps the fetched source")

if(SDKAPI_CIVETWEB STREQUAL pinned)
  include(cmake/CivetwebPinned.cmake)
elseif(SDKAPI_CIVETWEB STREQUAL system)
  include(cmake/CivetwebSystem.cmake)
else()
  message(FATAL_ERROR "SDKAPI_CIVETWEB must be pinned or system, not '${SDKAPI_CIVETWEB}'")
endif()
