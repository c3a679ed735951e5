# Debian packages (`make package`, configured with -DVESK_PACKAGE=ON and
# the prefix /usr): CPack's DEB generator, one package per install
# component:
#   vesk-report                the program, its man page (gzipped), the JSON
#                              report's schema, bash completion, the
#                              suppression file /etc/vesk.xml, the systemd
#                              service and timer and /etc/default/vesk-report
#                              (component "program")
#   libvesk-postprocessor1     the shared library (component "runtime")
#   libvesk-postprocessor-dev  headers, CMake package, pkg-config file
#                              (component "development")
# Each carries its copyright and changelog.Debian.gz. Dependencies on
# system libraries come from dpkg-shlibdeps; the packages of this project
# depend on the library package of the same version.

set(VESK_PACKAGE_REVISION 1)
set(VESK_DEB_VERSION "${PROJECT_VERSION}-${VESK_PACKAGE_REVISION}")
set(VESK_PACKAGING_DIR "${PROJECT_SOURCE_DIR}/packaging")

# Files Debian wants compressed, made at build time (gzip -n: no name or
# time inside, so the packages are reproducible).
find_program(VESK_GZIP gzip REQUIRED)
set(VESK_MAN_GZ "${PROJECT_BINARY_DIR}/vesk-report.1.gz")
set(VESK_CHANGELOG_GZ "${PROJECT_BINARY_DIR}/changelog.Debian.gz")
add_custom_command(OUTPUT ${VESK_MAN_GZ}
  COMMAND ${VESK_GZIP} -9nc ${PROJECT_SOURCE_DIR}/docs/vesk-report.1
          > ${VESK_MAN_GZ}
  DEPENDS ${PROJECT_SOURCE_DIR}/docs/vesk-report.1)
add_custom_command(OUTPUT ${VESK_CHANGELOG_GZ}
  COMMAND ${VESK_GZIP} -9nc ${VESK_PACKAGING_DIR}/changelog
          > ${VESK_CHANGELOG_GZ}
  DEPENDS ${VESK_PACKAGING_DIR}/changelog)
add_custom_target(vesk_package_files ALL
  DEPENDS ${VESK_MAN_GZ} ${VESK_CHANGELOG_GZ})

set(VESK_DEB_PROGRAM vesk-report)
set(VESK_DEB_RUNTIME libvesk-postprocessor${PROJECT_VERSION_MAJOR})
set(VESK_DEB_DEVELOPMENT libvesk-postprocessor-dev)

# The program's files beyond the binary.
install(FILES ${VESK_MAN_GZ} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1
        COMPONENT program)
install(FILES ${VESK_PACKAGING_DIR}/vesk-report.bash-completion
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
        RENAME vesk-report COMPONENT program)
install(FILES ${VESK_PACKAGING_DIR}/vesk-report.service
              ${VESK_PACKAGING_DIR}/vesk-report.timer
        DESTINATION /lib/systemd/system COMPONENT program)
install(FILES ${PROJECT_SOURCE_DIR}/examples/vesk.xml
        DESTINATION ${CMAKE_INSTALL_FULL_SYSCONFDIR} COMPONENT program)
install(FILES ${VESK_PACKAGING_DIR}/vesk-report.default
        DESTINATION ${CMAKE_INSTALL_FULL_SYSCONFDIR}/default
        RENAME vesk-report COMPONENT program)
foreach(component program runtime development)
  string(TOUPPER ${component} upper)
  install(FILES ${VESK_PACKAGING_DIR}/copyright ${VESK_CHANGELOG_GZ}
          DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${VESK_DEB_${upper}}
          COMPONENT ${component})
endforeach()

# The configuration files are kept across upgrades; the library package
# has dpkg run ldconfig once it is unpacked (CPack's own scripts call it
# again, which does no harm).
set(VESK_CONFFILES "${PROJECT_BINARY_DIR}/deb-program/conffiles")
file(WRITE ${VESK_CONFFILES}
     "${CMAKE_INSTALL_FULL_SYSCONFDIR}/default/vesk-report\n"
     "${CMAKE_INSTALL_FULL_SYSCONFDIR}/vesk.xml\n")
set(VESK_TRIGGERS "${PROJECT_BINARY_DIR}/deb-runtime/triggers")
file(WRITE ${VESK_TRIGGERS} "activate-noawait ldconfig\n")

set(CPACK_GENERATOR DEB)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL program runtime development)
set(CPACK_PACKAGE_NAME vesk)
# Each package's description begins with its own summary line.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_VENDOR "The vesk developers")
set(CPACK_PACKAGE_CONTACT "vesk developers <vesk@example.org>")
set(CPACK_PACKAGE_HOMEPAGE_URL "https://example.org/vesk")
set(CPACK_PACKAGING_INSTALL_PREFIX ${CMAKE_INSTALL_PREFIX})
set(CPACK_STRIP_FILES ON)
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE ${VESK_PACKAGE_REVISION})
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# The program needs the library of this build, which no installed package
# has yet: dpkg-shlibdeps finds it here and leaves its dependency to the
# one set below.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR})

set(CPACK_DEBIAN_PROGRAM_PACKAGE_NAME ${VESK_DEB_PROGRAM})
set(CPACK_DEBIAN_PROGRAM_PACKAGE_SECTION admin)
set(CPACK_DEBIAN_PROGRAM_PACKAGE_DEPENDS
    "${VESK_DEB_RUNTIME} (= ${VESK_DEB_VERSION})")
set(CPACK_DEBIAN_PROGRAM_PACKAGE_CONTROL_EXTRA ${VESK_CONFFILES})
set(CPACK_DEBIAN_PROGRAM_DESCRIPTION
    "report of a compute cluster's health check results
vesk-report turns the raw results of a cluster health check, and what
node health check scripts, Slurm, Alertmanager and GPU diagnostics
report, into the report an administrator reads: the same finding on
many nodes as one issue with a compact node list, grouped by severity,
with a PASS/FAIL line per rule set. It writes text, JSON, Prometheus
metrics, a self-contained HTML page and a Slurm drain script.

A systemd timer runs it every 15 minutes (see /etc/default/vesk-report).")

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${VESK_DEB_RUNTIME})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${VESK_TRIGGERS})
# A shlibs file for the library package (the setting is global; only a
# package with a shared library gets one).
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION
    "postprocessor of cluster health check results (library)
The vesk postprocessor collapses the same finding seen on many nodes into
one finding with a compact node list, groups findings by kind, severity
and side of the FAIL threshold, traces diagnoses to the observations
that triggered them, and prints the report. This package holds the
shared library.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME ${VESK_DEB_DEVELOPMENT})
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
    "${VESK_DEB_RUNTIME} (= ${VESK_DEB_VERSION})")
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION
    "postprocessor of cluster health check results (development files)
The vesk postprocessor collapses the same finding seen on many nodes into
one finding with a compact node list and prints the report of a cluster
health check. This package holds the headers, the CMake package
(find_package(vesk)) and the pkg-config file (vesk.pc).")

include(CPack)
