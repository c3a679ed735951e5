# Runs vesk-report once and compares what it printed, byte for byte, with
# the expected files, and its exit status with the expected one.
#
#   cmake -DEXE=path -DARGS="--width|80|file.json" -DWORKDIR=dir
#         [-DEXPECTED_OUT=file] [-DEXPECTED_ERR=file] [-DSTDIN=file]
#         [-DOUT_FILE=file] [-DREPORT_FILE=1] -DEXPECTED_STATUS=n
#         -P run_case.cmake
#
# Without EXPECTED_OUT nothing is expected on standard output. With
# OUT_FILE, standard output goes to that file (/dev/full) and is not
# compared. With REPORT_FILE, the text report is written to a file with
# `--report text=FILE` instead: standard output must stay empty, the file
# is compared with EXPECTED_OUT, and it must not exist after exit status 2.
#
# The summary names a path made from the executable's own directory. To
# keep that line short (so it never wraps at 80 columns) and the same in
# every clone, the executable is copied to a fresh directory under /tmp
# first, and that directory is written @BINDIR@ in the expected text.
string(REPLACE "|" ";" args "${ARGS}")
if(NOT STDIN)
  set(STDIN /dev/null)
endif()

if(NOT EXISTS "${EXE}")
  message(FATAL_ERROR "${EXE} not built")
endif()
string(RANDOM LENGTH 8 ALPHABET abcdefghijklmnopqrstuvwxyz0123456789 tag)
set(bindir /tmp/vesk-golden-${tag})
file(MAKE_DIRECTORY ${bindir})
file(COPY ${EXE} DESTINATION ${bindir})
get_filename_component(exe_name ${EXE} NAME)
if(REPORT_FILE)
  set(report ${bindir}/report.txt)
  list(APPEND args --report text=${report})
endif()

if(OUT_FILE)
  execute_process(
    COMMAND ${bindir}/${exe_name} ${args}
    WORKING_DIRECTORY ${WORKDIR}
    INPUT_FILE ${STDIN}
    OUTPUT_FILE ${OUT_FILE}
    ERROR_VARIABLE err
    RESULT_VARIABLE status)
else()
  execute_process(
    COMMAND ${bindir}/${exe_name} ${args}
    WORKING_DIRECTORY ${WORKDIR}
    INPUT_FILE ${STDIN}
    OUTPUT_VARIABLE out
    ERROR_VARIABLE err
    RESULT_VARIABLE status)
endif()
if(REPORT_FILE)
  if(NOT out STREQUAL "")
    message("standard output is not empty; it was:\n${out}")
    set(report_failed TRUE)
  endif()
  set(out "")
  if(EXISTS ${report})
    file(READ ${report} out)
    if(status STREQUAL "2")
      message("exit status 2, but ${report} was written")
      set(report_failed TRUE)
    endif()
  elseif(NOT status STREQUAL "2")
    message("${report} was not written")
    set(report_failed TRUE)
  endif()
  file(GLOB stray ${bindir}/.report.txt.tmp*)
  if(stray)
    message("temporary files left: ${stray}")
    set(report_failed TRUE)
  endif()
endif()
file(REMOVE_RECURSE ${bindir})

string(REPLACE "${bindir}" "@BINDIR@" out "${out}")
set(failed FALSE)
if(report_failed)
  set(failed TRUE)
endif()
set(expected_out "")
if(EXPECTED_OUT)
  file(READ ${EXPECTED_OUT} expected_out)
endif()
if(OUT_FILE)
  # Written elsewhere, not compared.
elseif(NOT out STREQUAL expected_out)
  message("standard output differs from ${EXPECTED_OUT}; it was:\n${out}")
  set(failed TRUE)
endif()
set(expected_err "")
if(EXPECTED_ERR)
  file(READ ${EXPECTED_ERR} expected_err)
endif()
if(NOT err STREQUAL expected_err)
  message("standard error differs; expected:\n${expected_err}\nit was:\n${err}")
  set(failed TRUE)
endif()
if(NOT status STREQUAL EXPECTED_STATUS)
  message("exit status ${status}, expected ${EXPECTED_STATUS}")
  set(failed TRUE)
endif()
if(failed)
  message(FATAL_ERROR "vesk-report ${ARGS}: output not as expected")
endif()
