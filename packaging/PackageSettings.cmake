# CPack's settings for all kinds of packages; PackageKind.cmake has what differs between them.
set(CPACK_PACKAGE_NAME orvanedga)
set(CPACK_PACKAGE_VENDOR "Orvane DGA maintainers")
set(CPACK_PACKAGE_CONTACT "Orvane DGA maintainers <maintainers@orvanedga.example>")
set(CPACK_RESOURCE_FILE_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)
set(CPACK_STRIP_FILES ON)
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_COMPONENTS_ALL runtime client client-dev devtools debug)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_ARCHIVE_COMPONENT_INSTALL ON)
set(CPACK_PACKAGE_FILE_NAME orvanedga-${PROJECT_VERSION}-${CMAKE_SYSTEM_PROCESSOR})
set(CPACK_PROJECT_CONFIG_FILE ${CMAKE_CURRENT_SOURCE_DIR}/PackageKind.cmake)
set(CPACK_POST_BUILD_SCRIPTS ${CMAKE_CURRENT_SOURCE_DIR}/AfterPacking.cmake)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 0orvane1)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS
  ${CMAKE_LIBRARY_OUTPUT_DIRECTORY} ${CMAKE_BINARY_DIR}/${CMAKE_INSTALL_LIBDIR})
set(CPACK_DEBIAN_DEBUGINFO_PACKAGE OFF)
set(version "${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE}")

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${package_of_runtime})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_DEPENDS "zip, xdg-utils, libqt6svg6")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_RECOMMENDS "qt6-wayland, qt6-translations-l10n")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SUGGESTS "systemd-coredump, fonts-noto-cjk")
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION "troubleshooting assistant of a meeting client
A meeting client starts it beside itself. It notices when the client hangs or
crashes, keeps a trace of the meeting, and turns both into a report that the
user describes and sends.")

set(CPACK_DEBIAN_CLIENT_PACKAGE_NAME ${package_of_client})
set(CPACK_DEBIAN_CLIENT_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_CLIENT_PACKAGE_CONTROL_EXTRA
  ${CMAKE_CURRENT_SOURCE_DIR}/debian/shlibs ${CMAKE_CURRENT_SOURCE_DIR}/debian/triggers)
set(CPACK_DEBIAN_CLIENT_DESCRIPTION "library with which a meeting client uses its troubleshooting assistant
It starts the assistant orvanedga, tells it about the session and the meeting,
and learns how it ended. This package has the shared library.")

set(CPACK_DEBIAN_CLIENT-DEV_PACKAGE_NAME ${package_of_client-dev})
set(CPACK_DEBIAN_CLIENT-DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_CLIENT-DEV_PACKAGE_DEPENDS "${package_of_client} (= ${version}), libglib2.0-dev")
set(CPACK_DEBIAN_CLIENT-DEV_DESCRIPTION "library with which a meeting client uses its assistant (development files)
It starts the assistant orvanedga, tells it about the session and the meeting,
and learns how it ended. This package has headers, the static library, files
for pkg-config and CMake, and examples.")

set(CPACK_DEBIAN_DEVTOOLS_PACKAGE_NAME ${package_of_devtools})
set(CPACK_DEBIAN_DEVTOOLS_PACKAGE_SECTION devel)
set(CPACK_DEBIAN_DEVTOOLS_PACKAGE_DEPENDS "${package_of_runtime} (= ${version})")
set(CPACK_DEBIAN_DEVTOOLS_DESCRIPTION "tools to try the troubleshooting assistant of a meeting client
A simulator of a meeting client that plays scenario files, an upload server
for this machine that checks strictly, and a program that uploads a file as
the assistant does.")

include(CPack)
