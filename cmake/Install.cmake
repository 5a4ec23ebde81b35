# Installed files, by component: library (shared libraries, when they are built), development (headers, archives, CMake
# package, zel.pc, zelhost.pc), driver (libzelinfo, its manual page; the home kit is installed by runtime/) and tool (zel, its manual
# pages, its service and configuration).
include(CMakePackageConfigHelpers)

include(cmake/PublicHeaders.cmake)
install(FILES ${ZEL_PUBLIC_HEADERS} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/zel COMPONENT development)
install(FILES ${ZEL_HOST_HEADERS} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/zel/host COMPONENT development)
install(FILES ${ZEL_HARDWARE_HEADERS} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/zel/host/hardware COMPONENT development)
get_property(ZEL_LIBRARIES GLOBAL PROPERTY ZEL_LIBRARIES)
install(TARGETS ${ZEL_LIBRARIES} zelhost EXPORT zelTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT library NAMELINK_COMPONENT development
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)

set(ZEL_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/zel)
install(EXPORT zelTargets NAMESPACE zel:: DESTINATION ${ZEL_CMAKE_DIR} COMPONENT development)
configure_package_config_file(cmake/zelConfig.cmake.in ${PROJECT_BINARY_DIR}/zelConfig.cmake
                              INSTALL_DESTINATION ${ZEL_CMAKE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/zelConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/zelConfig.cmake ${PROJECT_BINARY_DIR}/zelConfigVersion.cmake
        DESTINATION ${ZEL_CMAKE_DIR} COMPONENT development)

# zel.pc and zelhost.pc find the prefix from their own place, wherever that is. A static link needs what the archives need; the shared
# libraries bring it along.
set(ZEL_PC_LIBS "-lzel -lzelrt")
set(ZEL_PC_PRIVATE_LIBS "-ltirpc -lpthread")
if(NOT BUILD_SHARED_LIBS)
  set(ZEL_PC_LIBS "${ZEL_PC_LIBS} ${ZEL_PC_PRIVATE_LIBS}")
endif()
file(RELATIVE_PATH ZEL_PC_PREFIX /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
string(REGEX REPLACE "/$" "" ZEL_PC_PREFIX ${ZEL_PC_PREFIX})
configure_file(cmake/zel.pc.in ${PROJECT_BINARY_DIR}/zel.pc @ONLY)
configure_file(cmake/zelhost.pc.in ${PROJECT_BINARY_DIR}/zelhost.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/zel.pc ${PROJECT_BINARY_DIR}/zelhost.pc
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)

install(TARGETS libzelinfo RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT driver)
set(ZEL_HOME ${CMAKE_INSTALL_FULL_LIBEXECDIR}/zel/home)

# zel_manual(NAME COMPONENT [SECTION]): man/NAME.SECTION.in, compressed; 1 without a section.
function(zel_manual NAME COMPONENT)
  set(SECTION 1)
  if(ARGC GREATER 2)
    set(SECTION ${ARGV2})
  endif()
  set(MANUAL ${PROJECT_BINARY_DIR}/man/${NAME}.${SECTION})
  configure_file(man/${NAME}.${SECTION}.in ${MANUAL} @ONLY)
  add_custom_command(OUTPUT ${MANUAL}.gz DEPENDS ${MANUAL} COMMAND gzip -9nc ${MANUAL} > ${MANUAL}.gz)
  add_custom_target(manual_${NAME} ALL DEPENDS ${MANUAL}.gz)
  install(FILES ${MANUAL}.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man${SECTION} COMPONENT ${COMPONENT})
endfunction()
zel_manual(libzelinfo driver)
if(TARGET zel_tool)
  set(ZEL_UNIT_DIR lib/systemd/system CACHE STRING "Where zel.service is installed")
  install(TARGETS zel_tool RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tool)
  foreach(PAGE zel zel-show zel-list zel-hardware zel-serve zel-check)
    zel_manual(${PAGE} tool)
  endforeach()
  zel_manual(zel.toml tool 5)
  install(FILES packaging/zel.toml DESTINATION ${CMAKE_INSTALL_FULL_SYSCONFDIR}/zel COMPONENT tool)
  install(FILES packaging/systemd/zel.service DESTINATION ${ZEL_UNIT_DIR} COMPONENT tool)
  install(DIRECTORY packaging/examples/ contrib/ DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/zel/examples COMPONENT tool
          PATTERN tests EXCLUDE)
  install(FILES packaging/completion/zel.bash DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME zel
          COMPONENT tool)
  install(FILES packaging/completion/_zel DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions COMPONENT tool)
  install(FILES packaging/completion/zel.fish DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d COMPONENT tool)
endif()

install(DIRECTORY examples/agent examples/receiver DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/libzel-dev/examples
        COMPONENT development)
