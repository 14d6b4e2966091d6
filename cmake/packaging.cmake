# What `cmake --install` puts in place: the library, its header, and how pkg-config and CMake find them.
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/quill_tray_manager)

install(TARGETS quill_tray_manager EXPORT quill_tray_manager
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  PUBLIC_HEADER DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

install(EXPORT quill_tray_manager
  NAMESPACE quill_tray_manager::
  FILE quill_tray_manager-targets.cmake
  DESTINATION ${package_dir})
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/quill_tray_manager-config.cmake.in
  ${PROJECT_BINARY_DIR}/quill_tray_manager-config.cmake
  INSTALL_DESTINATION ${package_dir}
  NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/quill_tray_manager-config-version.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/quill_tray_manager-config.cmake
              ${PROJECT_BINARY_DIR}/quill_tray_manager-config-version.cmake
  DESTINATION ${package_dir})

# Relative to the file's own place, so that an installed tree can be moved.
file(RELATIVE_PATH pkgconfig_prefix /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
string(REGEX REPLACE "/$" "" pkgconfig_prefix ${pkgconfig_prefix})
configure_file(${CMAKE_CURRENT_LIST_DIR}/quill_tray_manager.pc.in ${PROJECT_BINARY_DIR}/quill_tray_manager.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/quill_tray_manager.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
