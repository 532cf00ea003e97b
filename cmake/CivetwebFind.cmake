# Finds the integrator's CivetWeb; the installed CMake package repeats this for hosts, so that both get one copy.
#
# Sets sdkapiCivetwebTarget.

find_package(civetweb CONFIG QUIET)
if(TARGET civetweb::civetweb)
  set(sdkapiCivetwebTarget civetweb::civetweb)
  return()
endif()

set(sdkapiCivetwebTarget PkgConfig::CIVETWEB)
find_package(PkgConfig QUIET)
if(PkgConfig_FOUND)
  pkg_check_modules(CIVETWEB QUIET IMPORTED_TARGET GLOBAL civetweb)
endif()
if(NOT TARGET PkgConfig::CIVETWEB)
  find_library(CIVETWEB_LIBRARY civetweb)
  find_path(CIVETWEB_INCLUDE_DIR civetweb.h)
  if(NOT CIVETWEB_LIBRARY OR NOT CIVETWEB_INCLUDE_DIR)
    message(FATAL_ERROR "no CivetWeb found on this system")
  endif()
  add_library(PkgConfig::CIVETWEB UNKNOWN IMPORTED GLOBAL)
  set_target_properties(PkgConfig::CIVETWEB PROPERTIES IMPORTED_LOCATION ${CIVETWEB_LIBRARY}
                                                       INTERFACE_INCLUDE_DIRECTORIES ${CIVETWEB_INCLUDE_DIR})
endif()
