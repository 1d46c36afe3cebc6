# Install tree: libraries, public headers under include/sonx_proc_hal/<folder>/, a CMake package and
# a pkg-config file.
include(CMakePackageConfigHelpers)

install(TARGETS sonx_proc_hal sonx_proc_hal_static EXPORT sonx_proc_hal_targets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})

# Internal headers stay behind.
install(DIRECTORY src/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/sonx_proc_hal
  FILES_MATCHING PATTERN "*.h"
  PATTERN "*_block.h" EXCLUDE
  PATTERN "*_step.h" EXCLUDE
  PATTERN "*_internal.h" EXCLUDE
  PATTERN "tuning_tables.h" EXCLUDE
  PATTERN "block.h" EXCLUDE
  PATTERN "fixed.h" EXCLUDE
  PATTERN "square_root.h" EXCLUDE
  PATTERN "kernels.h" EXCLUDE
  PATTERN "loop.h" EXCLUDE
  PATTERN "allocation.h" EXCLUDE
  PATTERN "sample_formats.h" EXCLUDE
  PATTERN "log.h" EXCLUDE)

set(config_dir ${CMAKE_INSTALL_LIBDIR}/cmake/sonx_proc_hal)
install(EXPORT sonx_proc_hal_targets NAMESPACE sonx:: DESTINATION ${config_dir})
configure_package_config_file(cmake/sonx_proc_hal-config.cmake.in
  ${PROJECT_BINARY_DIR}/sonx_proc_hal-config.cmake INSTALL_DESTINATION ${config_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/sonx_proc_hal-config-version.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES
  ${PROJECT_BINARY_DIR}/sonx_proc_hal-config.cmake
  ${PROJECT_BINARY_DIR}/sonx_proc_hal-config-version.cmake
  DESTINATION ${config_dir})

# The pkg-config file finds the tree from where it stands, so that the tree can be moved.
file(RELATIVE_PATH sonx_prefix_from_pc
  /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
configure_file(cmake/sonx_proc_hal.pc.in ${PROJECT_BINARY_DIR}/sonx_proc_hal.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/sonx_proc_hal.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
