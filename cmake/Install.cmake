# The installed tree: header, library, CMake package veldane::veldane, pkg-config file.
include(CMakePackageConfigHelpers)

set(packageDir ${CMAKE_INSTALL_LIBDIR}/cmake/veldane)

install(TARGETS veldane EXPORT veldaneTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  PUBLIC_HEADER DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(EXPORT veldaneTargets
  FILE veldaneConfig.cmake
  NAMESPACE veldane::
  DESTINATION ${packageDir})

write_basic_package_version_file(${PROJECT_BINARY_DIR}/veldaneConfigVersion.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/veldaneConfigVersion.cmake DESTINATION ${packageDir})

# Relative to the file itself, so that the tree may be moved and installed to any prefix.
file(RELATIVE_PATH prefixFromPc /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(${CMAKE_CURRENT_LIST_DIR}/veldane.pc.in ${PROJECT_BINARY_DIR}/veldane.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/veldane.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
