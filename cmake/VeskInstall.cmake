# Install rules: the shared library, its headers (same paths as in the source
# tree), a CMake package (find_package(vesk CONFIG)) and a pkg-config file.
# The library itself is the component "runtime"; everything needed to build
# against it (headers, the .so link, the CMake package and vesk.pc) is
# "development", so both can be installed without the host program.
include(CMakePackageConfigHelpers)

set(VESK_CMAKE_DIR "${CMAKE_INSTALL_LIBDIR}/cmake/vesk")

install(TARGETS vesk_postprocessor EXPORT vesk-targets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    COMPONENT runtime NAMELINK_COMPONENT development
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY vesk DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
  COMPONENT development
  FILES_MATCHING PATTERN "*.hpp" PATTERN "detail" EXCLUDE)
install(EXPORT vesk-targets NAMESPACE vesk:: DESTINATION ${VESK_CMAKE_DIR}
  COMPONENT development)

configure_package_config_file(cmake/vesk-config.cmake.in
  "${PROJECT_BINARY_DIR}/vesk-config.cmake"
  INSTALL_DESTINATION ${VESK_CMAKE_DIR})
write_basic_package_version_file("${PROJECT_BINARY_DIR}/vesk-config-version.cmake"
  VERSION ${PROJECT_VERSION} COMPATIBILITY SameMajorVersion)
install(FILES "${PROJECT_BINARY_DIR}/vesk-config.cmake"
              "${PROJECT_BINARY_DIR}/vesk-config-version.cmake"
        DESTINATION ${VESK_CMAKE_DIR} COMPONENT development)

# The pkg-config file finds its prefix from its own location, so the
# installed tree can be moved (or staged with `cmake --install --prefix`).
set(VESK_PKGCONFIG_DIR "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
file(RELATIVE_PATH VESK_PC_RELATIVE_PREFIX
     "${CMAKE_INSTALL_PREFIX}/${VESK_PKGCONFIG_DIR}" "${CMAKE_INSTALL_PREFIX}")
string(REGEX REPLACE "/$" "" VESK_PC_RELATIVE_PREFIX
       "${VESK_PC_RELATIVE_PREFIX}")
if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
  set(VESK_PC_LIBDIR "${CMAKE_INSTALL_LIBDIR}")
else()
  set(VESK_PC_LIBDIR "\${prefix}/${CMAKE_INSTALL_LIBDIR}")
endif()
if(IS_ABSOLUTE "${CMAKE_INSTALL_INCLUDEDIR}")
  set(VESK_PC_INCLUDEDIR "${CMAKE_INSTALL_INCLUDEDIR}")
else()
  set(VESK_PC_INCLUDEDIR "\${prefix}/${CMAKE_INSTALL_INCLUDEDIR}")
endif()
configure_file(cmake/vesk.pc.in "${PROJECT_BINARY_DIR}/vesk.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/vesk.pc"
        DESTINATION ${VESK_PKGCONFIG_DIR} COMPONENT development)
