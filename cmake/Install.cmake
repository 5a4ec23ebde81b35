# Installed files: headers under include/zel, both archives, the driver, the CMake package and zel.pc.
include(CMakePackageConfigHelpers)

install(TARGETS libzelinfo RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(TARGETS zelrt zel EXPORT zelTargets ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY LIB/ libzel/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/zel FILES_MATCHING PATTERN "*.h")

set(ZEL_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/zel)
install(EXPORT zelTargets NAMESPACE zel:: DESTINATION ${ZEL_CMAKE_DIR})
configure_package_config_file(cmake/zelConfig.cmake.in ${PROJECT_BINARY_DIR}/zelConfig.cmake
                              INSTALL_DESTINATION ${ZEL_CMAKE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/zelConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/zelConfig.cmake ${PROJECT_BINARY_DIR}/zelConfigVersion.cmake
        DESTINATION ${ZEL_CMAKE_DIR})

configure_file(cmake/zel.pc.in ${PROJECT_BINARY_DIR}/zel.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/zel.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
