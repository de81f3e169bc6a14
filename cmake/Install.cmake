# What `cmake --install` lays down: the programs with their pages and completions, and the Zip library as a CMake
# package (find_package(VantorelZip), target Vantorel::vl_zip).
include(CMakePackageConfigHelpers)

# Programs.
install(TARGETS forkzip vantorel-publish RUNTIME COMPONENT programs)
install(DIRECTORY docs/man/ DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT programs FILES_MATCHING PATTERN "*.1")
install(FILES packaging/forkzip.bash-completion RENAME forkzip
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT programs)
install(FILES packaging/forkzip.zsh-completion RENAME _forkzip
        DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions COMPONENT programs)
install(FILES packaging/forkzip.fish-completion RENAME forkzip.fish
        DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d COMPONENT programs)
if(VANTOREL_UI)
  install(TARGETS VantorelLauncher RUNTIME COMPONENT programs)
  # The launcher looks for its helper here, so that it is on nobody else's PATH.
  install(TARGETS open RUNTIME DESTINATION ${CMAKE_INSTALL_LIBEXECDIR}/vantorel COMPONENT programs)
  install(FILES docs/man/vantorel-open.8 DESTINATION ${CMAKE_INSTALL_MANDIR}/man8 COMPONENT programs)
  install(FILES packaging/org.example.vantorel.metainfo.xml
          DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo COMPONENT programs)
  install(FILES packaging/vantorel-launcher.desktop
          DESTINATION ${CMAKE_INSTALL_DATADIR}/applications COMPONENT programs)
  install(FILES launcher/resources/icon.svg RENAME vantorel-launcher.svg
          DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps COMPONENT programs)
endif()

# The Zip library.
set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/VantorelZip)
install(TARGETS vl_core vl_zip EXPORT VantorelZipTargets ARCHIVE COMPONENT library)
install(CODE "set(source_dir \"${PROJECT_SOURCE_DIR}\")
set(include_dir \"\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_INCLUDEDIR}/vantorel\")" COMPONENT library)
install(SCRIPT cmake/InstallHeaders.cmake COMPONENT library)
install(EXPORT VantorelZipTargets NAMESPACE Vantorel:: DESTINATION ${package_dir} COMPONENT library)
configure_package_config_file(cmake/VantorelZipConfig.cmake.in VantorelZipConfig.cmake
                              INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(VantorelZipConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/VantorelZipConfig.cmake ${PROJECT_BINARY_DIR}/VantorelZipConfigVersion.cmake
        DESTINATION ${package_dir} COMPONENT library)

include(packaging/debian/package.cmake)
