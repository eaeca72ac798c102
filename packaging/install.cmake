# SPDX-License-Identifier: MIT
# What a platform developer gets: library, headers, pkg-config file, CMake package dfd (dfd::dfd and
# dfd::dfd_static), licence, documentation, examples and example boards.
include(CMakePackageConfigHelpers)

set(dfd_package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/dfd)
install(TARGETS dfd dfd_static EXPORT dfdTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/dfd DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(EXPORT dfdTargets NAMESPACE dfd:: DESTINATION ${dfd_package_dir})

file(RELATIVE_PATH dfd_up /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
string(REGEX REPLACE "/$" "" dfd_up ${dfd_up})
configure_file(${PROJECT_SOURCE_DIR}/packaging/libdfd.pc.in libdfd.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/libdfd.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# Until 1.0 a minor version may break the interface.
write_basic_package_version_file(dfdConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_SOURCE_DIR}/packaging/dfdConfig.cmake
  ${PROJECT_BINARY_DIR}/dfdConfigVersion.cmake DESTINATION ${dfd_package_dir})

# The pages stand as they do in the sources, so that their links lead somewhere.
install(FILES LICENSE README.md CHANGELOG.md CONTRIBUTING.md SECURITY.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(DIRECTORY docs DESTINATION ${CMAKE_INSTALL_DOCDIR} FILES_MATCHING PATTERN *.md)
install(FILES examples/platform.c DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples)
install(FILES packaging/valgrind/libdfd.supp DESTINATION ${CMAKE_INSTALL_DATADIR}/dfd)

# Where udev looks for rules, and systemd for units, below /usr and /usr/local, on each architecture.
if(DFD_TOOLS)
  install(FILES ${PROJECT_SOURCE_DIR}/packaging/udev/60-dfd.rules DESTINATION lib/udev/rules.d)
  install(FILES ${PROJECT_SOURCE_DIR}/packaging/systemd/dfd-metrics.service
    ${PROJECT_SOURCE_DIR}/packaging/systemd/dfd-metrics.timer DESTINATION lib/systemd/system)
endif()

include(packaging/manual.cmake)

# Each shell finds the file of a program by its name.
if(DFD_TOOLS)
  foreach(program dfdctl dfd-eeprom vchassis)
    string(MAKE_C_IDENTIFIER ${program} function)
    configure_file(packaging/completion/completion.bash.in
      completion/bash-completion/completions/${program} @ONLY)
    configure_file(packaging/completion/completion.zsh.in
      completion/zsh/site-functions/_${program} @ONLY)
    configure_file(packaging/completion/completion.fish.in
      completion/fish/vendor_completions.d/${program}.fish @ONLY)
  endforeach()
  install(DIRECTORY ${PROJECT_BINARY_DIR}/completion/ DESTINATION ${CMAKE_INSTALL_DATAROOTDIR})
endif()
