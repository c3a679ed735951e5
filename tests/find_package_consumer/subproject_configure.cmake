# Configures the add_subdirectory() consumer and checks that vesk wrote no
# install rules into it.
#   cmake -DSOURCE=<consumer folder> -DBINARY=<build folder>
#         -DVESK_SOURCE_DIR=<vesk source> -P subproject_configure.cmake
file(REMOVE_RECURSE "${BINARY}")
execute_process(
  COMMAND "${CMAKE_COMMAND}" -S "${SOURCE}" -B "${BINARY}"
          "-DVESK_SOURCE_DIR=${VESK_SOURCE_DIR}"
  RESULT_VARIABLE rc)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "configuring the subproject consumer failed: ${rc}")
endif()
file(READ "${BINARY}/vesk/cmake_install.cmake" script)
foreach(word vesk_postprocessor vesk-targets vesk-config vesk.pc)
  string(FIND "${script}" "${word}" at)
  if(NOT at EQUAL -1)
    message(FATAL_ERROR "the subproject installs ${word}")
  endif()
endforeach()
message(STATUS "subproject consumer: library only")
