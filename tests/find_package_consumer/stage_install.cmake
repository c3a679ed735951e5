# Installs the library and its development files (not the host program)
# from the build tree into a fresh staging prefix.
#   cmake -DBUILD_DIR=<build tree> -DPREFIX=<staging prefix>
#         -DLIBDIR=<library dir, relative> -P stage_install.cmake
file(REMOVE_RECURSE "${PREFIX}")
foreach(component runtime development)
  execute_process(
    COMMAND "${CMAKE_COMMAND}" --install "${BUILD_DIR}" --prefix "${PREFIX}"
            --component ${component}
    RESULT_VARIABLE rc)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "cmake --install of ${component} failed: ${rc}")
  endif()
endforeach()
foreach(file ${LIBDIR}/cmake/vesk/vesk-config.cmake ${LIBDIR}/pkgconfig/vesk.pc
             include/vesk/vesk.hpp)
  if(NOT EXISTS "${PREFIX}/${file}")
    message(FATAL_ERROR "not installed: ${file}")
  endif()
endforeach()
