# Install rules: the shared library, its headers (same paths as in the source
# tree), a CMake package (find_package(vesk CONFIG)) and a pkg-config file.
include(CMakePackageConfigHelpers)

set(VESK_CMAKE_DIR "${CMAKE_INSTALL_LIBDIR}/cmake/vesk")

install(TARGETS vesk_postprocessor EXPORT vesk-targets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY vesk DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
  FILES_MATCHING PATTERN "*.hpp" PATTERN "detail" EXCLUDE)
install(EXPORT vesk-targets NAMESPACE vesk:: DESTINATION ${VESK_CMAKE_DIR})

configure_package_config_file(cmake/vesk-config.cmake.in
  "${PROJECT_BINARY_DIR}/vesk-config.cmake"
  INSTALL_DESTINATION ${VESK_CMAKE_DIR})
write_basic_package_version_file("${PROJECT_BINARY_DIR}/vesk-config-version.cmake"
  VERSION ${PROJECT_VERSION} COMPATIBILITY SameMajorVersion)
install(FILES "${PROJECT_BINARY_DIR}/vesk-config.cmake"
              "${PROJECT_BINARY_DIR}/vesk-config-version.cmake"
        DESTINATION ${VESK_CMAKE_DIR})

configure_file(cmake/vesk.pc.in "${PROJECT_BINARY_DIR}/vesk.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/vesk.pc"
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
