# Builds and runs the consumer host with nothing but the flags that
# `pkg-config --cflags --libs vesk` gives for the staged install.
#   cmake -DPKG_CONFIG=<pkg-config> -DPKG_CONFIG_DIR=<dir of vesk.pc>
#         -DCXX=<compiler> -DEXTRA_FLAGS=<;-list> [-DEXTRA_LIBS=<;-list>]
#         -DSOURCE=<main.cpp>
#         -DOUTPUT=<executable> -P pkg_config_consumer.cmake
set(ENV{PKG_CONFIG_PATH} "${PKG_CONFIG_DIR}")
execute_process(COMMAND "${PKG_CONFIG}" --cflags --libs vesk
  OUTPUT_VARIABLE flags OUTPUT_STRIP_TRAILING_WHITESPACE RESULT_VARIABLE rc)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "pkg-config --cflags --libs vesk failed: ${rc}")
endif()
execute_process(COMMAND "${PKG_CONFIG}" --variable=libdir vesk
  OUTPUT_VARIABLE libdir OUTPUT_STRIP_TRAILING_WHITESPACE RESULT_VARIABLE rc)
if(NOT rc EQUAL 0 OR NOT EXISTS "${libdir}")
  message(FATAL_ERROR "pkg-config gives no usable libdir: '${libdir}'")
endif()
message(STATUS "pkg-config flags: ${flags}")
separate_arguments(flags UNIX_COMMAND "${flags}")

execute_process(
  COMMAND "${CXX}" ${EXTRA_FLAGS} "${SOURCE}" -o "${OUTPUT}" ${flags} ${EXTRA_LIBS}
          "-Wl,-rpath,${libdir}"
  RESULT_VARIABLE rc)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "compiling with the pkg-config flags failed: ${rc}")
endif()
execute_process(COMMAND "${OUTPUT}" OUTPUT_VARIABLE out RESULT_VARIABLE rc)
message(STATUS "consumer output: ${out}")
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "consumer exited with ${rc}")
endif()
