# Debian packages by CPack (scripts/package.sh): libzel1 with the shared libraries, libzel-dev, zelinfo with the driver and
# its home kit, and zel with the tool and its service. They take a tree that was configured as the preset "package" is.
set(ZEL_MAINTAINER "libzel maintainers <libzel@example.org>" CACHE STRING "Maintainer of the Debian packages")
if(NOT BUILD_SHARED_LIBS OR NOT CMAKE_INSTALL_PREFIX STREQUAL "/usr" OR NOT ZEL_STATE_DIR STREQUAL "/var/lib/zel")
  return()
endif()

# What every package must carry in its documentation directory.
set(PACKAGING ${PROJECT_SOURCE_DIR}/packaging)
set(PACKAGE_VERSION ${PROJECT_VERSION}-1)
set(CHANGELOG ${PROJECT_BINARY_DIR}/packaging/changelog.Debian)
configure_file(${PACKAGING}/changelog.in ${CHANGELOG} @ONLY)
add_custom_command(OUTPUT ${CHANGELOG}.gz DEPENDS ${CHANGELOG} COMMAND gzip -9nc ${CHANGELOG} > ${CHANGELOG}.gz)
add_custom_target(changelog ALL DEPENDS ${CHANGELOG}.gz)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME libzel)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # every package has its own
set(CPACK_PACKAGE_VENDOR "libzel maintainers")
set(CPACK_PACKAGE_CONTACT ${ZEL_MAINTAINER})
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_SET_DESTDIR ON) # /etc and /lib are outside of the prefix
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS OFF)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/lib)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

# zel_package(COMPONENT NAME SECTION DEPENDS SUMMARY TEXT)
macro(zel_package COMPONENT NAME SECTION DEPENDS SUMMARY TEXT)
  list(APPEND CPACK_COMPONENTS_ALL ${COMPONENT})
  string(TOUPPER ${COMPONENT} KEY)
  set(CPACK_DEBIAN_${KEY}_PACKAGE_NAME ${NAME})
  set(CPACK_DEBIAN_${KEY}_PACKAGE_SOURCE libzel)
  set(CPACK_DEBIAN_${KEY}_PACKAGE_SECTION ${SECTION})
  set(CPACK_DEBIAN_${KEY}_PACKAGE_PRIORITY optional)
  set(CPACK_DEBIAN_${KEY}_PACKAGE_DEPENDS "${DEPENDS}")
  set(CPACK_DEBIAN_${KEY}_DESCRIPTION "${SUMMARY}\n${TEXT}")
  set(CPACK_COMPONENT_${KEY}_DESCRIPTION "${SUMMARY}\n${TEXT}")
  install(FILES ${PACKAGING}/copyright DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${NAME} COMPONENT ${COMPONENT})
  install(FILES ${CHANGELOG}.gz DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${NAME} COMPONENT ${COMPONENT})
endmacro()

set(ABOUT "libzel collects the performance counters and the hardware inventory of a
Linux host, turns two successive samples into rates and percentages, and
renders them as text that a monitoring agent ships.
.
This package contains")
zel_package(library libzel1 libs ""
            "Host-performance collection library"
            "${ABOUT} the shared libraries.")
zel_package(development libzel-dev libdevel "libzel1 (= ${PACKAGE_VERSION}), libtirpc-dev"
            "Host-performance collection library (development files)"
            "${ABOUT} the headers, the archives, the CMake package,
the pkg-config file and an example agent.")
zel_package(driver zelinfo admin "libzel1 (= ${PACKAGE_VERSION})"
            "Print performance counters and hardware inventory of a host"
            "${ABOUT} the console driver libzelinfo, and the
scripts and programs that the collectors call.")
if(TARGET zel_tool)
  zel_package(tool zel admin ""
              "Show and export performance counters of a host"
              "zel shows a Linux host as numbers with names, units and reasons for what is
missing: tables for people, JSON and CSV for programs, and metrics over HTTP
with the names that dashboards and alerts of host exporters know.
.
The service listens on loopback, and runs once it is enabled.")
endif()

# Control files. The linker's cache is brought up to date by a trigger; dependents learn their dependency from shlibs.
set(CONTROL ${PROJECT_BINARY_DIR}/packaging)
file(CONFIGURE OUTPUT ${CONTROL}/triggers CONTENT "activate-noawait ldconfig\n")
file(CONFIGURE OUTPUT ${CONTROL}/shlibs CONTENT "libzel ${PROJECT_VERSION_MAJOR} libzel1 (>= ${PROJECT_VERSION})
libzelrt ${PROJECT_VERSION_MAJOR} libzel1 (>= ${PROJECT_VERSION})\n")
configure_file(${PACKAGING}/zelinfo.postrm ${CONTROL}/postrm COPYONLY)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA ${CONTROL}/triggers ${CONTROL}/shlibs)
set(CPACK_DEBIAN_DRIVER_PACKAGE_CONTROL_EXTRA ${CONTROL}/postrm)
file(CONFIGURE OUTPUT ${CONTROL}/zel/conffiles CONTENT "/etc/zel/zel.toml\n")
foreach(SCRIPT postinst prerm postrm)
  configure_file(${PACKAGING}/zel.${SCRIPT} ${CONTROL}/zel/${SCRIPT} COPYONLY)
  list(APPEND CPACK_DEBIAN_TOOL_PACKAGE_CONTROL_EXTRA ${CONTROL}/zel/${SCRIPT})
endforeach()
list(APPEND CPACK_DEBIAN_TOOL_PACKAGE_CONTROL_EXTRA ${CONTROL}/zel/conffiles)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SHLIBDEPS OFF)
install(FILES ${PACKAGING}/libzel1.lintian-overrides RENAME libzel1
        DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides COMPONENT library)
include(CPack)
