# SPDX-License-Identifier: MIT
# What a platform developer gets: library, headers, pkg-config file, CMake package dfd (dfd::dfd).
include(CMakePackageConfigHelpers)

set(dfd_package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/dfd)
install(TARGETS dfd EXPORT dfdTargets LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/dfd DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(EXPORT dfdTargets NAMESPACE dfd:: DESTINATION ${dfd_package_dir})

configure_file(${PROJECT_SOURCE_DIR}/packaging/libdfd.pc.in libdfd.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/libdfd.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# Until 1.0 a minor version may break the interface.
write_basic_package_version_file(dfdConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_SOURCE_DIR}/packaging/dfdConfig.cmake
  ${PROJECT_BINARY_DIR}/dfdConfigVersion.cmake DESTINATION ${dfd_package_dir})

# Where systemd looks for units below /usr and /usr/local, on each architecture.
if(DFD_TOOLS)
  install(FILES ${PROJECT_SOURCE_DIR}/packaging/systemd/dfd-metrics.service
    ${PROJECT_SOURCE_DIR}/packaging/systemd/dfd-metrics.timer DESTINATION lib/systemd/system)
endif()
