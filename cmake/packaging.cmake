# What `cmake --install` and the Debian packages put in place: the library, its header, and how pkg-config and CMake
# find them.
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/quill_tray_manager)

install(TARGETS quill_tray_manager EXPORT quill_tray_manager
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development
  PUBLIC_HEADER DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)

install(EXPORT quill_tray_manager
  NAMESPACE quill_tray_manager::
  FILE quill_tray_manager-targets.cmake
  DESTINATION ${package_dir} COMPONENT development)
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/quill_tray_manager-config.cmake.in
  ${PROJECT_BINARY_DIR}/quill_tray_manager-config.cmake
  INSTALL_DESTINATION ${package_dir}
  NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/quill_tray_manager-config-version.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/quill_tray_manager-config.cmake
              ${PROJECT_BINARY_DIR}/quill_tray_manager-config-version.cmake
  DESTINATION ${package_dir} COMPONENT development)

# Relative to the file's own place, so that an installed tree can be moved.
file(RELATIVE_PATH pkgconfig_prefix /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
string(REGEX REPLACE "/$" "" pkgconfig_prefix ${pkgconfig_prefix})
configure_file(${CMAKE_CURRENT_LIST_DIR}/quill_tray_manager.pc.in ${PROJECT_BINARY_DIR}/quill_tray_manager.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/quill_tray_manager.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
        COMPONENT development)

# Debian packages, made by `cmake --workflow --preset package`. Its prefix is /usr, which gives the library directory
# its architecture's name.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGING_INSTALL_PREFIX ${CMAKE_INSTALL_PREFIX})
set(CPACK_COMPONENTS_ALL runtime development)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "quill_tray_manager maintainers <maintainers@quill-tray-manager.invalid>")
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_MULTIARCH same)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libquill-tray-manager${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_RECOMMENDS "libgif7, librsvg2-2, libtiff6")  # loaded once such a picture is shown
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
# The trigger runs ldconfig. CPack would do so in scripts of its own, whose postrm outlives `apt remove`; it leaves them
# out where files of their names are listed, also if there are none.
file(CONFIGURE OUTPUT ${PROJECT_BINARY_DIR}/triggers CONTENT "activate-noawait ldconfig\n")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA
  ${PROJECT_BINARY_DIR}/triggers ${PROJECT_BINARY_DIR}/no/postinst ${PROJECT_BINARY_DIR}/no/postrm)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "tray icon with a menu for desktop applications
A host shows one icon in the system bar through eleven C functions: a template
image, a frame animation, a menu, callbacks for clicks, and URLs opened in the
user's default handler. It works in panels that know StatusNotifierItem.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libquill-tray-manager-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS libglib2.0-dev)  # the main loop that a host runs
set(CPACK_COMPONENT_DEVELOPMENT_DEPENDS runtime)
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "tray icon with a menu for desktop applications - development files
The C header, and what pkg-config and CMake need to find the library.")
include(CPack)
