# Installs headers, library, MarlConfig.cmake and marl.pc; every path in them is relative to
# where they lie, so that the installed tree may be moved.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(config_dir ${CMAKE_INSTALL_LIBDIR}/cmake/Marl)
set(pkgconfig_dir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

install(TARGETS marl EXPORT MarlTargets INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/marl DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
    FILES_MATCHING PATTERN "*.h" PATTERN detail EXCLUDE)

install(EXPORT MarlTargets NAMESPACE Marl:: DESTINATION ${config_dir})
write_basic_package_version_file(MarlConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_SOURCE_DIR}/cmake/MarlConfig.cmake ${CMAKE_CURRENT_BINARY_DIR}/MarlConfigVersion.cmake
    DESTINATION ${config_dir})

file(RELATIVE_PATH pc_to_prefix
    ${CMAKE_INSTALL_PREFIX}/${pkgconfig_dir} ${CMAKE_INSTALL_PREFIX})
configure_file(${PROJECT_SOURCE_DIR}/cmake/marl.pc.in marl.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/marl.pc DESTINATION ${pkgconfig_dir})
