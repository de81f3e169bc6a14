# A Debian package of the programs: cpack -G DEB in the build folder.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME vantorel-launcher)
set(CPACK_PACKAGE_CONTACT "The Vantorel launcher's maintainers <maintainers@example.org>")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION "Launcher and self-updater for Vantorel, and the archive tool forkzip
Starts Vantorel and keeps it up to date: asks the update server which version
is current, shows the release notes and, with the user's consent, downloads and
installs the new version.
.
With it come forkzip, which reads, makes and edits Zip archives and keeps the
resource forks of classic Mac files, and vantorel-publish, which puts an update
on a web server.")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# What is loaded or started by name: the toolkit's plugin for Wayland (that for X comes with the toolkit), and what
# opens a document.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "qt6-wayland, xdg-utils")
set(CPACK_DEBIAN_PACKAGE_SUGGESTS minisign)  # signs for vantorel-publish
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL programs debian)
set(CPACK_COMPONENTS_GROUPING ALL_COMPONENTS_IN_ONE)
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_LIST_DIR}/compress-docs.cmake)

configure_file(${CMAKE_CURRENT_LIST_DIR}/changelog.in ${PROJECT_BINARY_DIR}/debian/changelog @ONLY)
install(FILES ${CMAKE_CURRENT_LIST_DIR}/copyright ${PROJECT_BINARY_DIR}/debian/changelog
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/vantorel-launcher COMPONENT debian EXCLUDE_FROM_ALL)
include(CPack)
