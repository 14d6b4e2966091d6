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

install(FILES ${PROJECT_SOURCE_DIR}/README.md DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT development)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs ${PROJECT_SOURCE_DIR}/examples  # one links to the other
  DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT development)

# Relative to the file's own place, so that an installed tree can be moved.
file(RELATIVE_PATH pkgconfig_prefix /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
string(REGEX REPLACE "/$" "" pkgconfig_prefix ${pkgconfig_prefix})
configure_file(${CMAKE_CURRENT_LIST_DIR}/quill_tray_manager.pc.in ${PROJECT_BINARY_DIR}/quill_tray_manager.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/quill_tray_manager.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
        COMPONENT development)

# Debian packages, made by `cmake --workflow --preset package`. Its prefix is /usr, which gives the library directory
# its architecture's name.
if(NOT PROJECT_IS_TOP_LEVEL OR QUILL_DESKTOP STREQUAL "appkit")
  return()
endif()

# A later commit has a higher version, so that APT replaces an older package. Changes without a commit count from the
# moment of this configuration.
set(ENV{TZ} UTC)
execute_process(COMMAND git show --no-patch --abbrev=12 --date=format-local:%Y%m%d.%H%M%S --format=%cd.%h HEAD
  WORKING_DIRECTORY ${PROJECT_SOURCE_DIR} OUTPUT_VARIABLE commit OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
execute_process(COMMAND git status --porcelain --untracked-files=no
  WORKING_DIRECTORY ${PROJECT_SOURCE_DIR} OUTPUT_VARIABLE changes ERROR_QUIET)
if(changes)
  string(TIMESTAMP commit "%Y%m%d.%H%M%S.changed" UTC)
endif()
set(CPACK_DEBIAN_PACKAGE_VERSION ${PROJECT_VERSION})
if(commit)
  string(APPEND CPACK_DEBIAN_PACKAGE_VERSION +git${commit})
endif()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGING_INSTALL_PREFIX ${CMAKE_INSTALL_PREFIX})
set(CPACK_COMPONENTS_ALL runtime introspection development xembed)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "quill_tray_manager maintainers <maintainers@quill-tray-manager.invalid>")
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_POST_BUILD_SCRIPTS ${CMAKE_CURRENT_LIST_DIR}/finish_packages.cmake)

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libquill-tray-manager${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
# Loaded once such a picture is shown. The last two bring some fifty packages with them.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_RECOMMENDS "libgif7, libjpeg62-turbo")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SUGGESTS "librsvg2-2, libtiff6, quill-tray-xembed")
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
file(CONFIGURE OUTPUT ${PROJECT_BINARY_DIR}/triggers CONTENT "activate-noawait ldconfig\n")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${PROJECT_BINARY_DIR}/triggers)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "tray icon with a menu for desktop applications
A host shows one icon in the system bar through eleven C functions: a template
image, a frame animation, a menu, callbacks for clicks, and URLs opened in the
user's default handler. It works in panels that know StatusNotifierItem.")

set(CPACK_DEBIAN_XEMBED_PACKAGE_NAME quill-tray-xembed)
set(CPACK_DEBIAN_XEMBED_PACKAGE_SECTION x11)
set(CPACK_DEBIAN_XEMBED_PACKAGE_SHLIBDEPS ON)
set(CPACK_COMPONENT_XEMBED_DESCRIPTION "tray icon with a menu for desktop applications - for trays of the older kind
Shows the icons of applications that use quill_tray_manager in bars that embed
windows by the XEmbed protocol: i3bar, polybar, tint2, trayer, IceWM, lxpanel.
The session bus starts it where no panel shows status items.")

# As Debian's policy names and divides what languages read at run time.
set(CPACK_DEBIAN_INTROSPECTION_PACKAGE_NAME gir1.2-quilltraymanager-1.0)
set(CPACK_DEBIAN_INTROSPECTION_PACKAGE_SECTION introspection)
set(CPACK_DEBIAN_INTROSPECTION_PACKAGE_DEPENDS gir1.2-glib-2.0)
set(CPACK_COMPONENT_INTROSPECTION_DEPENDS runtime)
set(CPACK_COMPONENT_INTROSPECTION_DESCRIPTION "tray icon with a menu for desktop applications - introspection data
What GJS, Python and other languages read when they use the library.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libquill-tray-manager-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS libglib2.0-dev)  # the main loop that a host runs
set(CPACK_COMPONENT_DEVELOPMENT_DEPENDS runtime introspection)
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "tray icon with a menu for desktop applications - development files
The C header, and what pkg-config and CMake need to find the library.")
include(CPack)
